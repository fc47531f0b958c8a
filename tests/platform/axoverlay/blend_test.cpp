#include "platform/axoverlay/blend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using namespace host_overlay;
using Runs = std::vector<host_overlay::Run>; // testing::Test has a Run too

struct Overlay {
    Overlay(int width, int height)
        : pixels(static_cast<std::size_t>(width * height)), view{pixels.data(), width, height} {}
    std::uint32_t& at(int x, int y) { return view.row(y)[x]; }

    std::vector<std::uint32_t> pixels;
    ArgbView view;
};

Nv12Picture solid_picture(int width, int height, std::uint8_t y, std::uint8_t u, std::uint8_t v) {
    Nv12Picture picture;
    picture.resize(width, height);
    std::fill_n(picture.luma(), picture.luma_size(), y);
    for (std::size_t i = 0; i < picture.luma_size() / 2; i += 2) {
        picture.chroma()[i] = u;
        picture.chroma()[i + 1] = v;
    }
    return picture;
}

/** The same in floating point, pixel by pixel, without runs. */
void naive_blend(Overlay& overlay, Nv12Picture& picture) {
    const auto channel = [](std::uint32_t argb, int shift) { return static_cast<double>(argb >> shift & 0xFF); };
    const auto rounded = [](double value) {
        return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
    };
    for (int by = 0; by < std::min(overlay.view.height, picture.height); by += 2) {
        for (int bx = 0; bx < std::min(overlay.view.width, picture.width); bx += 2) {
            double u = 0;
            double v = 0;
            double below = 0;
            for (int y = by; y < by + 2; ++y) {
                for (int x = bx; x < bx + 2; ++x) {
                    const std::uint32_t p = overlay.at(x, y);
                    const double a = channel(p, 24), r = channel(p, 16), g = channel(p, 8), b = channel(p, 0);
                    std::uint8_t& luma = picture.luma()[y * picture.width + x];
                    luma = rounded((66 * r + 129 * g + 25 * b) / 256 + 16 * a / 255 + luma * (255 - a) / 255);
                    u += (112 * b - 74 * g - 38 * r) / 256;
                    v += (112 * r - 94 * g - 18 * b) / 256;
                    below += (255 - a) / 255;
                }
            }
            std::uint8_t* chroma = picture.chroma() + by / 2 * picture.width + bx;
            chroma[0] = rounded(128 + (u + below * (chroma[0] - 128)) / 4);
            chroma[1] = rounded(128 + (v + below * (chroma[1] - 128)) / 4);
        }
    }
}

std::uint32_t random_premultiplied(std::mt19937& random) {
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    const std::uint32_t kind = below(4);
    const std::uint32_t alpha = kind == 0 ? 255 : below(256);
    const auto channel = [&] { return below(alpha + 1); };
    return kind == 1 ? 0 : alpha << 24 | channel() << 16 | channel() << 8 | channel();
}

TEST(Blend, EqualsTheNaiveModelOnRandomOverlaysOfAnyDensityAndSize) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 60; ++round) {
        const auto side = [&] { return 2 * static_cast<int>(1 + random() % 40); };
        Overlay overlay(side(), side());
        const auto emptiness = 1 + random() % 30;
        for (std::uint32_t& pixel : overlay.pixels)
            pixel = random() % emptiness == 0 ? random_premultiplied(random) : 0;
        Nv12Picture picture = solid_picture(side(), side(), 0, 0, 0);
        for (std::uint8_t& byte : picture.bytes)
            byte = static_cast<std::uint8_t>(random());
        Nv12Picture expected = picture;
        naive_blend(overlay, expected);

        Runs runs;
        find_runs(overlay.view, runs);
        blend_runs(overlay.view, runs, picture);
        ASSERT_EQ(picture.bytes, expected.bytes)
            << overlay.view.width << "x" << overlay.view.height << " over " << picture.width << "x" << picture.height;

        clear_runs(overlay.view, runs);
        ASSERT_EQ(overlay.pixels, std::vector<std::uint32_t>(overlay.pixels.size()));
    }
}

TEST(Blend, AnOpaquePixelLeavesNothingOfThePicture) {
    for (const auto& [argb, y, u, v] : std::vector<std::tuple<std::uint32_t, int, int, int>>{
             {0xFF000000, 16, 128, 128},
             {0xFFFFFFFF, 235, 128, 128},
             {0xFFFF0000, 82, 90, 240},
             {0xFF00FF00, 144, 54, 34},
             {0xFF0000FF, 41, 240, 110},
         }) {
        Overlay overlay(2, 2);
        std::fill(overlay.pixels.begin(), overlay.pixels.end(), argb);
        Runs runs;
        find_runs(overlay.view, runs);
        for (const int below : {0, 77, 255}) {
            const auto byte = static_cast<std::uint8_t>(below);
            Nv12Picture picture = solid_picture(2, 2, byte, byte, byte);
            blend_runs(overlay.view, runs, picture);
            EXPECT_EQ(picture.luma()[0], y) << std::hex << argb;
            EXPECT_EQ(picture.chroma()[0], u) << std::hex << argb;
            EXPECT_EQ(picture.chroma()[1], v) << std::hex << argb;
        }
    }
}

TEST(Blend, ColoursBrighterThanTheirAlphaStopAtTheEndOfTheRange) {
    Overlay overlay(2, 2);
    std::fill(overlay.pixels.begin(), overlay.pixels.end(), 0x00FFFFFF);
    Runs runs;
    find_runs(overlay.view, runs);
    Nv12Picture picture = solid_picture(2, 2, 235, 128, 128);
    blend_runs(overlay.view, runs, picture);
    EXPECT_EQ(picture.luma()[0], 255);
}

TEST(Blend, RunsHoldWhatIsDrawnAndJoinOverShortGapsOnly) {
    Overlay overlay(100, 4);
    overlay.at(5, 1) = 1;
    overlay.at(15, 0) = 1;
    overlay.at(60, 1) = 1;
    overlay.at(99, 3) = 1;
    Runs runs{{0, 0, 0}};
    find_runs(overlay.view, runs);
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_EQ(std::tie(runs[0].y, runs[0].begin, runs[0].end), std::make_tuple(0, 4, 16));
    EXPECT_EQ(std::tie(runs[1].y, runs[1].begin, runs[1].end), std::make_tuple(0, 60, 62));
    EXPECT_EQ(std::tie(runs[2].y, runs[2].begin, runs[2].end), std::make_tuple(2, 98, 100));
}

} // namespace
