#include "detection/common_structs.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

TEST(CommonStructsTest, ADefaultDetectionIsAllZero) {
    const detection box;
    EXPECT_EQ(box.X, 0);
    EXPECT_EQ(box.Y, 0);
    EXPECT_EQ(box.W, 0);
    EXPECT_EQ(box.H, 0);
    EXPECT_EQ(box.ClassId, 0);
    EXPECT_EQ(box.Confidence, 0.0F);
    EXPECT_EQ(box.get_centroid(), t_one_centroid(0, 0));
}

TEST(CommonStructsTest, TheCentroidIsTheCornerAndHalfTheSizeCutTowardZero) {
    const struct {
        int x, y, w, h;
        t_one_centroid centroid;
    } table[] = {
        {10, 20, 30, 40, {25, 40}},
        {10, 20, 31, 41, {25, 40}},
        {0, 0, 1, 1, {0, 0}},
        {5, 5, -1, -3, {5, 4}},
        {-10, -10, 5, 4, {-8, -8}},
        {kMax, kMax, 4, 2, {kMin + 1, kMin}},
        {kMin, kMin, -2, -4, {kMax, kMax - 1}},
    };
    for (const auto& [x, y, w, h, centroid] : table) {
        detection box;
        box.X = x;
        box.Y = y;
        box.W = w;
        box.H = h;
        EXPECT_EQ(box.get_centroid().first, centroid.first) << x << " " << w;
        EXPECT_EQ(box.get_centroid().second, centroid.second) << y << " " << h;
    }
}

TEST(CommonStructsTest, ARectangleIsFourWords) {
    const rectangle empty;
    EXPECT_EQ(empty.X + empty.Y + empty.W + empty.H, 0);
    static_assert(sizeof(rectangle) == 16);
}

} // namespace
