#include "scene/finding.h"

#include <gtest/gtest.h>

namespace {

TEST(OneFind, StartsAtZeroAndOutside) {
    const one_find find;
    EXPECT_EQ(find.centroid, t_one_centroid(0, 0));
    EXPECT_EQ(find.detect.X, 0);
    EXPECT_EQ(find.detect.Y, 0);
    EXPECT_EQ(find.detect.W, 0);
    EXPECT_EQ(find.detect.H, 0);
    EXPECT_EQ(find.detect.ClassId, 0);
    EXPECT_EQ(find.detect.Confidence, 0.0F);
    EXPECT_EQ(find.id, 0);
    EXPECT_EQ(find.footing, not_in_AOI);
    EXPECT_EQ(find.seconds, 0);
    EXPECT_EQ(find.entrance, unknown);
}

TEST(OneFind, KeepsTheOrderOfItsFields) {
    const auto [centroid, detect, id, footing, seconds, entrance] =
        one_find{{1, 2}, {3, 4, 5, 6, 7, 0.5F}, 8, in_AOI1_briefly, 9, in_entrance1};
    EXPECT_EQ(centroid.second, 2);
    EXPECT_EQ(detect.ClassId, 7);
    EXPECT_EQ(id, 8);
    EXPECT_EQ(footing, in_AOI1_briefly);
    EXPECT_EQ(seconds, 9);
    EXPECT_EQ(entrance, in_entrance1);
}

TEST(Footings, HaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(not_in_AOI), 0);
    EXPECT_EQ(static_cast<int>(in_AOI1_briefly), 1);
    EXPECT_EQ(static_cast<int>(in_AOI1_lengthily), 2);
    EXPECT_EQ(static_cast<int>(in_AOI1_more_lengthily), 3);
    EXPECT_EQ(static_cast<int>(in_AOI1_most_lengthily), 4);
}

TEST(Entrances, HaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(unknown), 0);
    EXPECT_EQ(static_cast<int>(not_in_entrance), 1);
    EXPECT_EQ(static_cast<int>(in_entrance1), 2);
    EXPECT_EQ(static_cast<int>(in_entrance2), 3);
    EXPECT_EQ(static_cast<int>(in_entrance3), 4);
}

} // namespace
