#include "output/resolution.h"

#include <gtest/gtest.h>

TEST(ResolutionTest, IsOrderedByWidthAndThenByHeight) {
    EXPECT_LT((Resolution{640, 9999}), (Resolution{641, 0}));
    EXPECT_LT((Resolution{640, 360}), (Resolution{640, 480}));
    EXPECT_FALSE((Resolution{640, 480}) < (Resolution{640, 360}));
    EXPECT_FALSE((Resolution{641, 0}) < (Resolution{640, 9999}));
    EXPECT_FALSE((Resolution{640, 360}) < (Resolution{640, 360}));
}

TEST(ResolutionTest, IsUnsigned) {
    EXPECT_LT((Resolution{1, 0}), (Resolution{4294967295U, 0}));
}
