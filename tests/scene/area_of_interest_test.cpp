#include "scene/area_of_interest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <thread>

using testing::IsEmpty;

namespace {

using point = std::pair<int, int>;

const t_Polygon kSquare = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
const t_Polygon kSquareTheOtherWay = {{0, 0}, {0, 100}, {100, 100}, {100, 0}};

bool inside(point p, const t_Polygon& poly) {
    return area_of_interest::is_winding_number_nonzero(p, poly);
}

// ---- Winding

struct winding_case {
    const char* what;
    point p;
    bool inside;
};

constexpr winding_case kSquareCases[] = {
    {"middle", {50, 50}, true},
    {"beyond", {150, 50}, false},
    {"left edge", {0, 50}, true},
    {"right edge", {100, 50}, false},
    {"lower-y edge", {50, 0}, true},
    {"higher-y edge", {50, 100}, false},
    {"corner at the origin", {0, 0}, true},
    {"opposite corner", {100, 100}, false},
    {"corner of the higher x", {100, 0}, false},
    {"corner of the higher y", {0, 100}, false},
    {"left of it at a vertex's height", {-1, 0}, false},
    {"left of it", {-50, 50}, false},
    {"right of it at a vertex's height", {101, 0}, false},
    {"under it", {50, -1}, false},
    {"over it", {50, 101}, false},
    {"last inner pixel", {99, 99}, true},
};

TEST(Winding, OfASquareIsTheSameInBothDirections) {
    for (const winding_case& c : kSquareCases) {
        EXPECT_EQ(inside(c.p, kSquare), c.inside) << c.what;
        EXPECT_EQ(inside(c.p, kSquareTheOtherWay), c.inside) << c.what << ", the other way round";
    }
}

TEST(Winding, OfNothingIsOutside) {
    EXPECT_FALSE(inside({0, 0}, {}));
}

TEST(Winding, OfAPointOrALineIsOutside) {
    EXPECT_FALSE(inside({5, 5}, {{5, 5}}));
    EXPECT_FALSE(inside({5, 5}, {{0, 0}, {10, 10}}));
    EXPECT_FALSE(inside({5, 5}, {{0, 5}, {10, 5}, {3, 5}}));
    EXPECT_FALSE(inside({0, 0}, {{0, 0}, {0, 0}, {0, 0}, {0, 0}}));
}

TEST(Winding, TwiceAroundIsOutside) {
    t_Polygon twice = kSquare;
    twice.insert(twice.end(), kSquare.begin(), kSquare.end());
    EXPECT_FALSE(inside({50, 50}, twice));
    const t_Polygon pentagram = {{0, -100}, {59, 81}, {-95, -31}, {95, -31}, {-59, 81}};
    EXPECT_FALSE(inside({0, 0}, pentagram));
    EXPECT_TRUE(inside({0, -80}, pentagram));
    EXPECT_FALSE(inside({60, -80}, pentagram));
}

TEST(Winding, OfBothLobesOfAnEightIsInside) {
    const t_Polygon eight = {{0, 0}, {100, 100}, {100, 0}, {0, 100}}; // one lobe each way round
    EXPECT_TRUE(inside({10, 50}, eight));
    EXPECT_TRUE(inside({90, 50}, eight));
    EXPECT_FALSE(inside({50, 10}, eight));
}

TEST(Winding, OfAConcaveOutlineLeavesTheNotchOut) {
    const t_Polygon notched = {{0, 0}, {100, 0}, {100, 100}, {50, 20}, {0, 100}};
    EXPECT_FALSE(inside({50, 60}, notched));
    EXPECT_TRUE(inside({10, 60}, notched));
    EXPECT_TRUE(inside({90, 60}, notched));
}

TEST(Winding, WrapsProductsAtThirtyTwoBits) {
    // The point lies below both edges at its height. Of the upward one the product, 65536 * 65536, wraps to 0 and so
    // does not count; the downward one is left alone.
    const t_Polygon triangle = {{65536, 0}, {65536, 65536}, {-65536, 1}};
    EXPECT_TRUE(inside({0, 0}, triangle));
    EXPECT_FALSE(inside({0, 0}, {{30000, 0}, {30000, 30000}, {-30000, 1}}));
    const t_Polygon everything = {{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MAX}};
    EXPECT_TRUE(inside({INT_MIN, INT_MIN}, everything));
    EXPECT_FALSE(inside({INT_MAX, INT_MAX}, everything));
}

/** The winding number from the angles under which the point sees the edges; none for a point on an edge. */
std::optional<long> winding_by_angles(point p, const t_Polygon& poly) {
    double angles = 0;
    for (size_t i = 0; i < poly.size(); ++i) {
        const double ax = poly[i].first - p.first;
        const double ay = poly[i].second - p.second;
        const double bx = poly[(i + 1) % poly.size()].first - p.first;
        const double by = poly[(i + 1) % poly.size()].second - p.second;
        const double cross = ax * by - ay * bx; // exact: whole numbers far below 2^53
        const double dot = ax * bx + ay * by;
        if (cross == 0 && dot <= 0)
            return std::nullopt;
        angles += std::atan2(cross, dot);
    }
    return std::lround(angles / (2 * std::numbers::pi));
}

TEST(WindingAgainstAngles, AgreesOnRandomOutlines) {
    long tested = 0;
    long found_inside = 0;
    for (unsigned int seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        // Small grids make edges and vertices meet the points' heights; large ones are like a frame.
        std::uniform_int_distribution<int> coordinate(seed % 2 == 0 ? -6 : -1920, seed % 2 == 0 ? 6 : 1920);
        t_Polygon poly(3 + seed % 8);
        for (point& vertex : poly)
            vertex = {coordinate(random), coordinate(random)};
        for (int i = 0; i < 100; ++i) {
            const point p = {coordinate(random), coordinate(random)};
            const std::optional<long> expected = winding_by_angles(p, poly);
            if (!expected)
                continue;
            ASSERT_EQ(inside(p, poly), *expected == 1 || *expected == -1) << p.first << ", " << p.second;
            ++tested;
            found_inside += inside(p, poly) ? 1 : 0;
        }
    }
    EXPECT_GT(tested, 30000);
    EXPECT_GT(found_inside, 3000);
}

/** Simple outlines: vertices in the order of their angle around the origin. */
TEST(WindingAgainstAngles, AgreesOnSimpleOutlinesInBothDirections) {
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::uniform_int_distribution<int> radius(100, 1000);
        t_Polygon poly;
        for (int i = 0; i < 8; ++i) {
            const double angle = i * std::numbers::pi / 4;
            const int r = radius(random);
            poly.emplace_back(std::lround(r * std::cos(angle)), std::lround(r * std::sin(angle)));
        }
        const t_Polygon reversed(poly.rbegin(), poly.rend());
        std::uniform_int_distribution<int> coordinate(-1000, 1000);
        for (int i = 0; i < 200; ++i) {
            const point p = {coordinate(random), coordinate(random)};
            const std::optional<long> expected = winding_by_angles(p, poly);
            if (!expected)
                continue;
            ASSERT_EQ(inside(p, poly), *expected != 0) << p.first << ", " << p.second;
            ASSERT_EQ(inside(p, reversed), *expected != 0) << p.first << ", " << p.second;
        }
    }
}

// ---- The area

TEST(AreaOfInterest, StartsEmptyAndSwitchedOff) {
    area_of_interest area;
    area.init();
    EXPECT_THAT(area.get_detection(1), IsEmpty());
    EXPECT_FALSE(area.is_detected(1, {0, 0}));
    EXPECT_FALSE(area.is_excluded({0, 0}));
    for (const int index : {1, 2, 3}) {
        EXPECT_THAT(area.get_exclusion(index), IsEmpty());
        EXPECT_FALSE(area.get_exclusion_active(index));
    }
}

TEST(AreaOfInterest, HasOneDetectionPolygon) {
    area_of_interest area;
    EXPECT_TRUE(area.set_detection(1, kSquare));
    EXPECT_EQ(area.get_detection(1), kSquare);
    EXPECT_EQ(area.m_Detection1, kSquare);
    EXPECT_TRUE(area.is_detected(1, {50, 50}));
    EXPECT_FALSE(area.is_detected(1, {150, 50}));
    for (const int index : {-1, 0, 2}) {
        EXPECT_FALSE(area.set_detection(index, {{1, 1}}));
        EXPECT_THAT(area.get_detection(index), IsEmpty());
        EXPECT_FALSE(area.is_detected(index, {50, 50}));
    }
    EXPECT_EQ(area.get_detection(1), kSquare);
}

TEST(AreaOfInterest, KeepsThreeZonesApart) {
    area_of_interest area;
    for (const int index : {1, 2, 3}) {
        EXPECT_TRUE(area.set_exclusion(index, {{index, index}}));
        EXPECT_TRUE(area.set_exclusion_active(index, index != 2));
    }
    EXPECT_EQ(area.m_Exclusion1, (t_Polygon{{1, 1}}));
    EXPECT_EQ(area.m_Exclusion2, (t_Polygon{{2, 2}}));
    EXPECT_EQ(area.m_Exclusion3, (t_Polygon{{3, 3}}));
    EXPECT_TRUE(area.m_Exclusion1Active);
    EXPECT_FALSE(area.m_Exclusion2Active);
    EXPECT_TRUE(area.m_Exclusion3Active);
    for (const int index : {1, 2, 3}) {
        EXPECT_EQ(area.get_exclusion(index), (t_Polygon{{index, index}}));
        EXPECT_EQ(area.get_exclusion_active(index), index != 2);
    }
}

TEST(AreaOfInterest, RefusesZonesThatAreNotThere) {
    area_of_interest area;
    for (const int index : {INT_MIN, -1, 0, 4, INT_MAX}) {
        EXPECT_FALSE(area.set_exclusion(index, kSquare));
        EXPECT_FALSE(area.set_exclusion_active(index, true));
        EXPECT_THAT(area.get_exclusion(index), IsEmpty());
        EXPECT_TRUE(area.get_exclusion_active(index));
    }
    for (const int index : {1, 2, 3}) {
        EXPECT_THAT(area.get_exclusion(index), IsEmpty());
        EXPECT_FALSE(area.get_exclusion_active(index));
    }
}

TEST(AreaOfInterest, ExcludesInEachZoneOnlyWhileItIsSwitchedOn) {
    for (const int index : {1, 2, 3}) {
        area_of_interest area;
        area.set_exclusion(index, kSquare);
        EXPECT_FALSE(area.is_excluded({50, 50}));
        area.set_exclusion_active(index, true);
        EXPECT_TRUE(area.is_excluded({50, 50}));
        EXPECT_FALSE(area.is_excluded({100, 50}));
        area.set_exclusion(index, {});
        EXPECT_FALSE(area.is_excluded({50, 50}));
    }
}

TEST(AreaOfInterest, DoesNotMixAZoneWithAnothersSwitch) {
    area_of_interest area;
    area.set_exclusion(1, kSquare);
    area.set_exclusion_active(2, true);
    area.set_exclusion_active(3, true);
    EXPECT_FALSE(area.is_excluded({50, 50}));
}

TEST(AreaOfInterest, ShowsATestTheOldOrTheNewPolygonOnly) {
    // Both squares hold the point; what lies between two of their vertex lists does not.
    const t_Polygon elsewhere = {{40, 40}, {60, 40}, {60, 60}, {40, 60}};
    area_of_interest area;
    area.set_detection(1, kSquare);
    area.set_exclusion(2, kSquare);
    area.set_exclusion_active(2, true);
    std::atomic<bool> done{false};
    std::thread settings([&] {
        for (int i = 0; i < 3000; ++i) {
            area.set_detection(1, i % 2 == 0 ? elsewhere : kSquare);
            area.set_exclusion(2, i % 2 == 0 ? elsewhere : kSquare);
            area.set_exclusion_active(1, i % 3 == 0);
        }
        done = true;
    });
    long misses = 0;
    do {
        misses += area.is_detected(1, {50, 50}) ? 0 : 1;
        misses += area.is_excluded({50, 50}) ? 0 : 1;
        misses += area.get_detection(1).size() == 4 ? 0 : 1;
    } while (!done);
    settings.join();
    EXPECT_EQ(misses, 0);
}

} // namespace
