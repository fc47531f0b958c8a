#include "output/render_options.h"

#include <gtest/gtest.h>

TEST(render_options_test, are_equal_when_both_members_are) {
    EXPECT_EQ((OverlayRenderOptions{true, false}), (OverlayRenderOptions{true, false}));
    EXPECT_NE((OverlayRenderOptions{true, false}), (OverlayRenderOptions{true, true}));
    EXPECT_NE((OverlayRenderOptions{true, false}), (OverlayRenderOptions{false, false}));
}

TEST(render_options_test, are_found_by_size) {
    OverlayRenderOptionsDict options;
    EXPECT_TRUE(options.setOptions({640, 360}, {true, false}));
    EXPECT_TRUE(options.setOptions({360, 640}, {false, true}));
    OverlayRenderOptions found;
    EXPECT_TRUE(options.getOptions(Resolution{640, 360}, found));
    EXPECT_EQ(found, (OverlayRenderOptions{true, false}));
    EXPECT_TRUE(options.getOptions(360, 640, found));
    EXPECT_EQ(found, (OverlayRenderOptions{false, true}));
}

TEST(render_options_test, are_replaced_by_later_ones) {
    OverlayRenderOptionsDict options;
    options.setOptions({640, 360}, {true, true});
    EXPECT_TRUE(options.setOptions({640, 360}, {false, false}));
    OverlayRenderOptions found{true, true};
    EXPECT_TRUE(options.getOptions(640, 360, found));
    EXPECT_EQ(found, (OverlayRenderOptions{false, false}));
    EXPECT_EQ(options.map.size(), 1U);
}

TEST(render_options_test, leave_the_result_untouched_for_an_unknown_size) {
    OverlayRenderOptionsDict options;
    options.setOptions({640, 360}, {false, false});
    OverlayRenderOptions found{true, true};
    EXPECT_FALSE(options.getOptions(Resolution{640, 361}, found));
    EXPECT_FALSE(options.getOptions(641, 360, found));
    EXPECT_EQ(found, (OverlayRenderOptions{true, true}));
}
