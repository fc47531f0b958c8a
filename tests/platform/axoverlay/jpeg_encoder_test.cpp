#include "platform/axoverlay/jpeg_encoder.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>

namespace {

using namespace host_overlay;
using test_video::decode;
using test_video::near;

Nv12Picture solid(int width, int height, int y, int u, int v) {
    Nv12Picture picture;
    picture.resize(width, height);
    std::fill_n(picture.luma(), picture.luma_size(), static_cast<std::uint8_t>(y));
    for (std::size_t i = 0; i < picture.luma_size() / 2; i += 2) {
        picture.chroma()[i] = static_cast<std::uint8_t>(u);
        picture.chroma()[i + 1] = static_cast<std::uint8_t>(v);
    }
    return picture;
}

TEST(JpegEncoder, StretchesTheStudioRangeToJpegsFullRange) {
    JpegEncoder encoder(100);
    for (const auto& [y, u, v, expected] : std::vector<std::tuple<int, int, int, test_video::Rgb>>{
             {16, 128, 128, {0, 0, 0}},
             {235, 128, 128, {255, 255, 255}},
             {126, 128, 128, {128, 128, 128}},
             {0, 128, 128, {0, 0, 0}},
             {255, 128, 128, {255, 255, 255}},
             {82, 90, 240, {255, 0, 0}},
             {144, 54, 34, {0, 255, 0}},
             {41, 240, 110, {0, 0, 255}},
         })
        EXPECT_TRUE(near(decode(encoder.encode(solid(32, 32, y, u, v))).at(16, 16), expected, 3)) << y;
}

TEST(JpegEncoder, KeepsSizesThatAreNoMultipleOfItsBlocksAndEveryPixelInPlace) {
    JpegEncoder encoder(95);
    Nv12Picture picture = solid(450, 34, 16, 128, 128);
    for (int y = 20; y < 34; ++y)
        std::fill_n(picture.luma() + y * 450 + 225, 225, std::uint8_t{235});
    const auto image = decode(encoder.encode(picture));
    ASSERT_EQ(image.width, 450);
    ASSERT_EQ(image.height, 34);
    EXPECT_TRUE(near(image.at(449, 33), {255, 255, 255}));
    EXPECT_TRUE(near(image.at(300, 26), {255, 255, 255}));
    EXPECT_TRUE(near(image.at(200, 26), {0, 0, 0}));
    EXPECT_TRUE(near(image.at(300, 10), {0, 0, 0}));
}

TEST(JpegEncoder, AHigherQualityTakesMoreBytes) {
    Nv12Picture picture = solid(64, 64, 16, 128, 128);
    for (std::size_t i = 0; i < picture.luma_size(); ++i)
        picture.luma()[i] = static_cast<std::uint8_t>(i * i % 220);
    EXPECT_LT(JpegEncoder(30).encode(picture).size(), JpegEncoder(90).encode(picture).size());
}

TEST(JpegEncoder, SaysSoWhenTheEncoderRefuses) {
    EXPECT_THROW(JpegEncoder(80).encode(Nv12Picture{}), std::runtime_error);
}

} // namespace
