// The conversion of a camera frame to the network's input beside OpenCV's, swscale's and the bare libyuv calls.

#include "vision/imgconverter.h"

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <opencv2/imgproc.hpp>

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr int kModelWidth = 960;
constexpr int kModelHeight = 540;
constexpr size_t kModelBytes = size_t{kModelWidth} * kModelHeight * 3;

/** NV12 with gradients, edges and some noise, as a camera's. */
std::vector<uint8_t> street_like_frame(int width, int height) {
    std::vector<uint8_t> frame(static_cast<size_t>(width) * static_cast<size_t>(height) * 3 / 2);
    uint32_t noise = 1;
    for (int row = 0; row < height * 3 / 2; ++row) {
        for (int column = 0; column < width; ++column) {
            noise = noise * 1664525 + 1013904223;
            const int block = ((column / 48) ^ (row / 48)) % 5;
            const int value = row < height ? 40 + 120 * row / height + 12 * block : 108 + 10 * block;
            frame[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column)] =
                static_cast<uint8_t>(value + static_cast<int>(noise >> 29));
        }
    }
    return frame;
}

void report(benchmark::State& state, const std::vector<uint8_t>& rgb) {
    benchmark::DoNotOptimize(rgb.data());
    benchmark::ClobberMemory();
    state.SetItemsProcessed(state.iterations());
}

void ours(benchmark::State& state) {
    const auto width = static_cast<unsigned>(state.range(0));
    const auto height = static_cast<unsigned>(state.range(1));
    const auto frame = street_like_frame(static_cast<int>(width), static_cast<int>(height));
    std::vector<uint8_t> rgb(kModelBytes);
    for (auto _ : state)
        if (!convertCropScaleU8yuvToRGB(frame.data(), width, height, rgb.data(), kModelWidth, kModelHeight))
            state.SkipWithError("the conversion failed");
    report(state, rgb);
}

/** The same three steps with libyuv's own last one; the work buffers are made on every call here too. */
void bare_libyuv(benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    const auto frame = street_like_frame(width, height);
    std::vector<uint8_t> rgb(kModelBytes);
    const auto pixels = [](int columns, int rows) { return static_cast<size_t>(columns) * static_cast<size_t>(rows); };
    const auto allocate = [](size_t bytes) {
        return std::unique_ptr<uint8_t, decltype(&std::free)>(static_cast<uint8_t*>(std::malloc(bytes)), &std::free);
    };
    for (auto _ : state) {
        const auto argb = allocate(pixels(width, height) * 4);
        const auto scaled = allocate(pixels(kModelWidth, kModelHeight) * 4);
        libyuv::NV12ToARGB(frame.data(), width, frame.data() + pixels(width, height), width, argb.get(), width * 4,
                           width, height);
        libyuv::ARGBScale(argb.get(), width * 4, width, height, scaled.get(), kModelWidth * 4, kModelWidth,
                          kModelHeight, libyuv::kFilterBilinear);
        libyuv::ARGBToRAW(scaled.get(), kModelWidth * 4, rgb.data(), kModelWidth * 3, kModelWidth, kModelHeight);
    }
    report(state, rgb);
}

void opencv(benchmark::State& state) {
    cv::setNumThreads(1);
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    auto frame = street_like_frame(width, height);
    const cv::Mat luma(height, width, CV_8UC1, frame.data());
    const cv::Mat chroma(height / 2, width / 2, CV_8UC2,
                         frame.data() + static_cast<size_t>(width) * static_cast<size_t>(height));
    std::vector<uint8_t> rgb(kModelBytes);
    cv::Mat model(kModelHeight, kModelWidth, CV_8UC3, rgb.data());
    cv::Mat full;
    for (auto _ : state) {
        cv::cvtColorTwoPlane(luma, chroma, full, cv::COLOR_YUV2RGB_NV12);
        cv::resize(full, model, model.size(), 0, 0, cv::INTER_LINEAR);
    }
    report(state, rgb);
}

void swscale(benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    const auto frame = street_like_frame(width, height);
    std::vector<uint8_t> rgb(kModelBytes);
    const std::unique_ptr<SwsContext, decltype(&sws_freeContext)> context(
        sws_getContext(width, height, AV_PIX_FMT_NV12, kModelWidth, kModelHeight, AV_PIX_FMT_RGB24, SWS_BILINEAR,
                       nullptr, nullptr, nullptr),
        &sws_freeContext);
    const uint8_t* planes[] = {frame.data(), frame.data() + static_cast<size_t>(width) * static_cast<size_t>(height)};
    const int strides[] = {width, width};
    uint8_t* const targets[] = {rgb.data()};
    const int target_strides[] = {kModelWidth * 3};
    for (auto _ : state)
        sws_scale(context.get(), planes, strides, 0, height, targets, target_strides);
    report(state, rgb);
}

void camera_sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({1280, 720})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);
}

BENCHMARK(ours)->Apply(camera_sizes);
BENCHMARK(bare_libyuv)->Apply(camera_sizes);
BENCHMARK(opencv)->Apply(camera_sizes);
BENCHMARK(swscale)->Apply(camera_sizes);

} // namespace

BENCHMARK_MAIN();
