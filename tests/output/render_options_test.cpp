#include "output/render_options.h"

#include <gtest/gtest.h>

TEST(RenderOptionsTest, AreEqualWhenBothMembersAre) {
    EXPECT_EQ((OverlayRenderOptions{true, false}), (OverlayRenderOptions{true, false}));
    EXPECT_NE((OverlayRenderOptions{true, false}), (OverlayRenderOptions{true, true}));
    EXPECT_NE((OverlayRenderOptions{true, false}), (OverlayRenderOptions{false, false}));
}

TEST(RenderOptionsTest, AreFoundBySize) {
    OverlayRenderOptionsDict options;
    EXPECT_TRUE(options.setOptions({640, 360}, {true, false}));
    EXPECT_TRUE(options.setOptions({360, 640}, {false, true}));
    OverlayRenderOptions found;
    EXPECT_TRUE(options.getOptions(Resolution{640, 360}, found));
    EXPECT_EQ(found, (OverlayRenderOptions{true, false}));
    EXPECT_TRUE(options.getOptions(360, 640, found));
    EXPECT_EQ(found, (OverlayRenderOptions{false, true}));
}

TEST(RenderOptionsTest, AreReplacedByLaterOnes) {
    OverlayRenderOptionsDict options;
    options.setOptions({640, 360}, {true, true});
    EXPECT_TRUE(options.setOptions({640, 360}, {false, false}));
    OverlayRenderOptions found{true, true};
    EXPECT_TRUE(options.getOptions(640, 360, found));
    EXPECT_EQ(found, (OverlayRenderOptions{false, false}));
    EXPECT_EQ(options.map.size(), 1U);
}

TEST(RenderOptionsTest, LeaveTheResultUntouchedForAnUnknownSize) {
    OverlayRenderOptionsDict options;
    options.setOptions({640, 360}, {false, false});
    OverlayRenderOptions found{true, true};
    EXPECT_FALSE(options.getOptions(Resolution{640, 361}, found));
    EXPECT_FALSE(options.getOptions(641, 360, found));
    EXPECT_EQ(found, (OverlayRenderOptions{true, true}));
}
