#include "output/overlay_info.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

class OverlayInfoTest : public testing::Test {
  protected:
    ~OverlayInfoTest() override { g_OverlayInfo = {}; }
};

} // namespace

TEST_F(OverlayInfoTest, BeginsWithTheApplicationStreamAlone) {
    const OverlayInfo info;
    EXPECT_EQ(info.pFindings, &g_findings);
    EXPECT_EQ(info.appStreamWidth, 800U);
    EXPECT_EQ(info.appStreamHeight, 450U);
    EXPECT_EQ(info.overlayStreamWidth, 0U);
    EXPECT_EQ(info.overlayStreamHeight, 0U);
    EXPECT_EQ(info.anonymizedStreamWidth, 0U);
    EXPECT_EQ(info.anonymizedStreamHeight, 0U);
    EXPECT_EQ(info.appStreamType, 0);
    EXPECT_FALSE(info.renderOnUserStreams);
    EXPECT_EQ(g_OverlayInfo.pFindings, &g_findings);
}

TEST_F(OverlayInfoTest, KnowsAStreamByBothSides) {
    SetOverlayStreamResolution(640, 360);
    SetAnonymizedStreamResolution(1280, 720);
    const struct {
        uint32_t width;
        uint32_t height;
        StreamType type;
    } table[] = {
        {800, 450, ApplicationStream}, {640, 360, OverlayStream}, {1280, 720, AnonymizedStream},
        {800, 451, OtherStream},       {801, 450, OtherStream},   {640, 720, OtherStream},
        {1280, 360, OtherStream},      {360, 640, OtherStream},   {0, 0, OtherStream},
        {450, 800, OtherStream},       {1920, 1080, OtherStream},
    };
    for (const auto& [width, height, type] : table)
        EXPECT_EQ(g_OverlayInfo.getStreamType(width, height), type) << width << "x" << height;
}

TEST_F(OverlayInfoTest, PrefersTheApplicationThenTheOverlayStream) {
    SetAnonymizedStreamResolution(800, 450);
    EXPECT_EQ(g_OverlayInfo.getStreamType(800, 450), ApplicationStream);
    SetOverlayStreamResolution(800, 450);
    EXPECT_EQ(g_OverlayInfo.getStreamType(800, 450), ApplicationStream);
    SetOverlayStreamResolution(640, 360);
    SetAnonymizedStreamResolution(640, 360);
    EXPECT_EQ(g_OverlayInfo.getStreamType(640, 360), OverlayStream);
}

TEST_F(OverlayInfoTest, MatchesNoRealStreamByARoleThatIsOff) {
    SetOverlayStreamResolutionFromString("1280x720");
    SetOverlayStreamResolutionFromString("0x0");
    EXPECT_EQ(g_OverlayInfo.getStreamType(1280, 720), OtherStream);
    EXPECT_EQ(g_OverlayInfo.getStreamType(0, 0), OverlayStream);
}

TEST_F(OverlayInfoTest, ReadsSizesFromTexts) {
    const struct {
        const char* text;
        uint32_t width;
        uint32_t height;
    } table[] = {
        {"1280x720", 1280, 720}, {"0x0", 0, 0},           {"640x360x90", 640, 360}, {" 640x +360", 640, 360},
        {"640 x360,", 640, 360}, {"-1x-2", ~0U, ~0U - 1}, {"12x34xyz", 12, 34},
    };
    for (const auto& [text, width, height] : table) {
        SetOverlayStreamResolutionFromString(text);
        EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, width) << text;
        EXPECT_EQ(g_OverlayInfo.overlayStreamHeight, height) << text;
        SetAnonymizedStreamResolutionFromString(text);
        EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, width) << text;
        EXPECT_EQ(g_OverlayInfo.anonymizedStreamHeight, height) << text;
    }
}

TEST_F(OverlayInfoTest, ThrowsForATextWithoutTwoNumbersAndChangesNothing) {
    SetOverlayStreamResolution(1, 2);
    SetAnonymizedStreamResolution(3, 4);
    for (const char* text : {"", "x", "640", "640x", "x360", "axb", "640xb", "ax360", "640X360", "640xx360"}) {
        EXPECT_THROW(SetOverlayStreamResolutionFromString(text), std::invalid_argument) << text;
        EXPECT_THROW(SetAnonymizedStreamResolutionFromString(text), std::invalid_argument) << text;
    }
    for (const char* text : {"99999999999x1", "1x99999999999"}) {
        EXPECT_THROW(SetOverlayStreamResolutionFromString(text), std::out_of_range) << text;
        EXPECT_THROW(SetAnonymizedStreamResolutionFromString(text), std::out_of_range) << text;
    }
    EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 1U);
    EXPECT_EQ(g_OverlayInfo.overlayStreamHeight, 2U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 3U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamHeight, 4U);
}
