#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "vision/imgconverter.h"

#include <gmock/gmock.h>
#include <libyuv.h>

#include <cerrno>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct colour_call {
    const uint8_t* luma;
    int luma_stride;
    const uint8_t* chroma;
    int chroma_stride;
    uint8_t* argb;
    int argb_stride;
    int width;
    int height;
};

struct scale_call {
    const uint8_t* src;
    int src_stride;
    int src_width;
    int src_height;
    int dst_stride;
    int dst_width;
    int dst_height;
    libyuv::FilterMode filter;
};

// What the last conversion asked libyuv for, and what libyuv is to answer instead of working.
colour_call g_colour;
scale_call g_scale;
int g_colour_result = 0;
int g_scale_result = 0;

} // namespace

extern "C" {
int __real_NV12ToARGB(const uint8_t*, int, const uint8_t*, int, uint8_t*, int, int, int);
int __real_ARGBScale(const uint8_t*, int, int, int, uint8_t*, int, int, int, libyuv::FilterMode);

int __wrap_NV12ToARGB(const uint8_t* luma, int luma_stride, const uint8_t* chroma, int chroma_stride, uint8_t* argb,
                      int argb_stride, int width, int height) {
    g_colour = {luma, luma_stride, chroma, chroma_stride, argb, argb_stride, width, height};
    return g_colour_result != 0
               ? g_colour_result
               : __real_NV12ToARGB(luma, luma_stride, chroma, chroma_stride, argb, argb_stride, width, height);
}

int __wrap_ARGBScale(const uint8_t* src, int src_stride, int src_width, int src_height, uint8_t* dst, int dst_stride,
                     int dst_width, int dst_height, libyuv::FilterMode filter) {
    g_scale = {src, src_stride, src_width, src_height, dst_stride, dst_width, dst_height, filter};
    return g_scale_result != 0 ? g_scale_result
                               : __real_ARGBScale(src, src_stride, src_width, src_height, dst, dst_stride, dst_width,
                                                  dst_height, filter);
}
}

namespace {

using bytes = std::vector<uint8_t>;

bytes noise(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    bytes out(size);
    for (uint8_t& each : out)
        each = static_cast<uint8_t>(random());
    return out;
}

bytes nv12(unsigned width, unsigned height) {
    return noise(size_t{width} * height + size_t{(height + 1) / 2} * (width + width % 2), width * 7919 + height);
}

class ImgconverterTest : public core_fixture {
  protected:
    ImgconverterTest() { start_anew(); }
    ~ImgconverterTest() override { start_anew(); }

    static void start_anew() {
        g_colour_result = g_scale_result = 0;
        g_colour = {};
        g_scale = {};
        failing_libc::reset();
    }
};

TEST_F(ImgconverterTest, ReordersBlueGreenRedAlphaToRedGreenBlue) {
    const bytes argb = {10, 20, 30, 40, 11, 21, 31, 41};
    bytes rgb(6);
    ARGBtoRAW(argb.data(), rgb.data(), 2, 1);
    EXPECT_THAT(rgb, ElementsAre(30, 20, 10, 31, 21, 11));
}

TEST_F(ImgconverterTest, ReorderingAgreesWithThePixelLoopAtEverySize) {
    constexpr size_t kGuard = 64; // the sanitizer does not see what libyuv writes
    for (unsigned width = 0; width < 70; ++width) {
        for (const unsigned height : {0U, 1U, 2U, 5U}) {
            const bytes argb = noise(size_t{4} * width * height, width + height * 1000);
            bytes expected;
            for (size_t i = 0; i < size_t{width} * height; ++i)
                expected.insert(expected.end(), {argb[4 * i + 2], argb[4 * i + 1], argb[4 * i]});
            bytes rgb(expected.size() + kGuard, 0xEE);
            expected.insert(expected.end(), kGuard, 0xEE);
            ARGBtoRAW(argb.data(), rgb.data(), width, height);
            ASSERT_EQ(rgb, expected) << width << "x" << height;
        }
    }
}

TEST_F(ImgconverterTest, ReorderingWorksAtAnyAlignment) {
    const bytes argb = noise(4 * 64 + 16, 1);
    for (size_t from = 0; from < 8; ++from) {
        for (size_t to = 0; to < 8; ++to) {
            bytes rgb(3 * 64 + 16, 0xEE);
            ARGBtoRAW(argb.data() + from, rgb.data() + to, 64, 1);
            for (size_t i = 0; i < 64; ++i)
                for (size_t channel = 0; channel < 3; ++channel)
                    ASSERT_EQ(rgb[to + 3 * i + channel], argb[from + 4 * i + 2 - channel]);
            EXPECT_EQ(rgb[to + 3 * 64], 0xEE);
        }
    }
}

TEST_F(ImgconverterTest, KeepsTheCentreOfTheFrame) {
    const struct {
        unsigned src_width, src_height, dst_width, dst_height;
        int crop_width, crop_height;
        unsigned offset_x, offset_y;
    } table[] = {
        {1280, 720, 960, 540, 1280, 720, 0, 0}, {1280, 960, 960, 540, 1280, 720, 0, 120},
        {720, 1280, 540, 960, 720, 1280, 0, 0}, {1920, 1080, 300, 300, 1080, 1080, 420, 0},
        {1281, 720, 960, 540, 1280, 720, 0, 0}, {1283, 720, 960, 540, 1280, 720, 1, 0},
        {1280, 723, 960, 540, 1280, 720, 0, 1}, {640, 480, 300, 300, 480, 480, 80, 0},
        {480, 640, 300, 300, 480, 480, 0, 80},  {960, 540, 960, 540, 960, 540, 0, 0},
    };
    for (const auto& row : table) {
        const bytes frame = nv12(row.src_width, row.src_height);
        bytes rgb(size_t{3} * row.dst_width * row.dst_height);
        ASSERT_TRUE(convertCropScaleU8yuvToRGB(frame.data(), row.src_width, row.src_height, rgb.data(), row.dst_width,
                                               row.dst_height));
        EXPECT_EQ(g_scale.src_width, row.crop_width);
        EXPECT_EQ(g_scale.src_height, row.crop_height);
        EXPECT_EQ(g_scale.src - g_colour.argb, (size_t{row.offset_y} * row.src_width + row.offset_x) * 4)
            << row.src_width << "x" << row.src_height;
    }
}

TEST_F(ImgconverterTest, HandsLibyuvThePlanesAndStrides) {
    const bytes frame = nv12(1280, 720);
    bytes rgb(size_t{3} * 960 * 540);
    ASSERT_TRUE(convertCropScaleU8yuvToRGB(frame.data(), 1280, 720, rgb.data(), 960, 540));
    EXPECT_EQ(g_colour.luma, frame.data());
    EXPECT_EQ(g_colour.luma_stride, 1280);
    EXPECT_EQ(g_colour.chroma, frame.data() + 1280 * 720);
    EXPECT_EQ(g_colour.chroma_stride, 1280);
    EXPECT_EQ(g_colour.argb_stride, 5120);
    EXPECT_EQ(g_colour.width, 1280);
    EXPECT_EQ(g_colour.height, 720);
    EXPECT_EQ(g_scale.src_stride, 5120);
    EXPECT_EQ(g_scale.dst_stride, 3840);
    EXPECT_EQ(g_scale.dst_width, 960);
    EXPECT_EQ(g_scale.dst_height, 540);
    EXPECT_EQ(g_scale.filter, libyuv::kFilterBilinear);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(failing_libc::calls("malloc"), 2) << "two work buffers a call";
}

/** The crop, step by step in single precision. */
struct naive_crop {
    float width;
    float height;

    naive_crop(unsigned src_width, unsigned src_height, unsigned dst_width, unsigned dst_height) {
        const float aspect = static_cast<float>(dst_width) / static_cast<float>(dst_height);
        width = static_cast<float>(src_width);
        height = width / aspect;
        if (height > static_cast<float>(src_height)) {
            height = static_cast<float>(src_height);
            width = height * aspect;
        }
    }
};

TEST_F(ImgconverterTest, TheWholeIsLibyuvOnTheCropAtRandomSizes) {
    const unsigned seed = 99;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    const auto random = [&engine] { return static_cast<unsigned>(engine()); };
    for (int round = 0; round < 60; ++round) {
        const unsigned src_width = 2 + random() % 200;
        const unsigned src_height = 2 + random() % 200;
        const unsigned dst_width = 1 + random() % 64;
        const unsigned dst_height = 1 + random() % 64;
        const naive_crop crop(src_width, src_height, dst_width, dst_height);
        const auto crop_width = static_cast<unsigned>(crop.width);
        const auto crop_height = static_cast<unsigned>(crop.height);
        if (crop_width == 0 || crop_height == 0)
            continue;
        const bytes frame = nv12(src_width, src_height);
        bytes argb(size_t{4} * src_width * src_height);
        const int width = static_cast<int>(src_width);
        ASSERT_EQ(__real_NV12ToARGB(frame.data(), width, frame.data() + size_t{src_width} * src_height, width,
                                    argb.data(), 4 * width, width, static_cast<int>(src_height)),
                  0);
        const size_t offset = (size_t{(src_height - crop_height) / 2} * src_width + (src_width - crop_width) / 2) * 4;
        bytes scaled(size_t{4} * dst_width * dst_height);
        ASSERT_EQ(__real_ARGBScale(argb.data() + offset, 4 * width, static_cast<int>(crop_width),
                                   static_cast<int>(crop_height), scaled.data(), 4 * static_cast<int>(dst_width),
                                   static_cast<int>(dst_width), static_cast<int>(dst_height), libyuv::kFilterBilinear),
                  0);
        bytes expected;
        for (size_t i = 0; i < scaled.size(); i += 4)
            expected.insert(expected.end(), {scaled[i + 2], scaled[i + 1], scaled[i]});

        bytes rgb(expected.size());
        ASSERT_TRUE(convertCropScaleU8yuvToRGB(frame.data(), src_width, src_height, rgb.data(), dst_width, dst_height));
        ASSERT_EQ(rgb, expected) << src_width << "x" << src_height << " to " << dst_width << "x" << dst_height;
    }
}

TEST_F(ImgconverterTest, GreyStaysGreyAndRedIsTheFirstByte) {
    bytes frame(64 * 64 * 3 / 2, 128);
    bytes rgb(3 * 16 * 16);
    ASSERT_TRUE(convertCropScaleU8yuvToRGB(frame.data(), 64, 64, rgb.data(), 16, 16));
    for (const uint8_t each : rgb)
        ASSERT_NEAR(each, 130, 2);
    for (size_t i = 64 * 64; i < frame.size(); i += 2)
        frame[i + 1] = 255; // V after U: red
    ASSERT_TRUE(convertCropScaleU8yuvToRGB(frame.data(), 64, 64, rgb.data(), 16, 16));
    EXPECT_EQ(rgb[0], 255);
    EXPECT_LT(rgb[1], 100);
    EXPECT_NEAR(rgb[2], 130, 2);
}

TEST_F(ImgconverterTest, AFailedAllocationIsLoggedWithItsNumber) {
    const bytes frame = nv12(64, 36);
    bytes rgb(3 * 32 * 18);
    for (const auto& [after, which] : {std::pair{0, "big"}, std::pair{1, "small"}}) {
        failing_libc::fail("malloc", ENOMEM, after);
        forget_log();
        EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 64, 36, rgb.data(), 32, 18));
        EXPECT_THAT(log_lines(), ElementsAre(std::string("error|convertCropScaleU8yuvToRGB: Failed allocating ") +
                                             which + " tempARGB buffer: 12"));
    }
}

TEST_F(ImgconverterTest, AFailedConversionIsLoggedWithItsResult) {
    const bytes frame = nv12(64, 36);
    bytes rgb(3 * 32 * 18, 7);
    g_colour_result = -3;
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 64, 36, rgb.data(), 32, 18));
    EXPECT_THAT(log_lines(), ElementsAre("error|convertCropScaleU8yuvToRGB: Failed NV12ToARGB(), result=-3"));
    g_colour_result = 0;
    g_scale_result = 5;
    forget_log();
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 64, 36, rgb.data(), 32, 18));
    EXPECT_THAT(log_lines(), ElementsAre("error|convertCropScaleU8yuvToRGB: Failed ARGBScale(), result=5"));
    EXPECT_THAT(rgb, testing::Each(7));
}

TEST_F(ImgconverterTest, NoFrameAndNoSizeAreRefused) {
    const bytes frame = nv12(64, 36);
    bytes rgb(3 * 32 * 18);
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(nullptr, 64, 36, rgb.data(), 32, 18));
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 0, 0, rgb.data(), 32, 18));
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 64, 36, rgb.data(), 0, 0));
    EXPECT_FALSE(convertCropScaleU8yuvToRGB(frame.data(), 64, 36, rgb.data(), 32, 0));
    EXPECT_THAT(log_lines(), ElementsAre("error|convertCropScaleU8yuvToRGB: Failed NV12ToARGB(), result=-1",
                                         "error|convertCropScaleU8yuvToRGB: Failed NV12ToARGB(), result=-1",
                                         "error|convertCropScaleU8yuvToRGB: Failed ARGBScale(), result=-1",
                                         "error|convertCropScaleU8yuvToRGB: Failed ARGBScale(), result=-1"));
}

} // namespace
