#include "base/arithmetic.h"
#include "scene/tracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr float kFar = 999999995904.0F;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

bool operator==(const detection& a, const detection& b) {
    return a.X == b.X && a.Y == b.Y && a.W == b.W && a.H == b.H && a.ClassId == b.ClassId &&
           a.Confidence == b.Confidence;
}

MATCHER_P(Box, expected, "") {
    return arg == expected;
}

/** A box of no size, whose centroid is its corner. */
detection at(int x, int y, int class_id = 2) {
    return {x, y, 0, 0, class_id, 0.5F};
}

// ---- Distance

TEST(TrackerDistance, IsEuclideanBetweenCentroids) {
    // Centroids (5, 10) and (35, 50).
    EXPECT_EQ(tracker().compute_distance({0, 0, 10, 20, 2, 0}, {30, 40, 10, 20, 2, 0}), 50.0F);
}

TEST(TrackerDistance, TruncatesHalvesTowardZero) {
    // W = -3 and H = -3 put the centroid at (-1, -1).
    EXPECT_EQ(tracker().compute_distance({0, 0, -3, -3, 2, 0}, at(-1, -1)), 0.0F);
    EXPECT_EQ(tracker().compute_distance({0, 0, 3, 3, 2, 0}, at(1, 1)), 0.0F);
}

TEST(TrackerDistance, OfDifferentClassesIsFar) {
    EXPECT_EQ(tracker().compute_distance(at(0, 0, 0), at(0, 0, 2)), kFar);
}

TEST(TrackerDistance, KeepsExactlyTheMaximumAndNothingAbove) {
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(60, 80)), 100.0F);
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(100, 1)), kFar); // 100.005
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(100, 10)), kFar);
}

TEST(TrackerDistance, FollowsASetMaximum) {
    tracker tracked;
    tracked.set_max_distance(10);
    EXPECT_EQ(tracked.m_MaxDistance, 10);
    EXPECT_EQ(tracked.compute_distance(at(0, 0), at(10, 0)), 10.0F);
    EXPECT_EQ(tracked.compute_distance(at(0, 0), at(11, 0)), kFar);
}

TEST(TrackerDistance, IsRoundedToSinglePrecision) {
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(1, 1)), static_cast<float>(std::sqrt(2.0)));
}

TEST(TrackerDistance, OfAWrappedNegativeSumIsFar) {
    // 46341 squared is 2147488281, which wraps to a negative number.
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(46341, 0)), kFar);
}

TEST(TrackerDistance, WrapsLikeThirtyTwoBitProducts) {
    // 65536 squared wraps to 0.
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(65536, 0)), 0.0F);
    EXPECT_EQ(tracker().compute_distance(at(0, 0), at(65536, 7)), 7.0F);
    EXPECT_EQ(tracker().compute_distance(at(INT_MIN, 0), at(INT_MAX, 0)), 1.0F);
    // The centroid wraps too: 0x7FFFFFFF + 0x3FFFFFFF, which lies 0x3FFFFFFE from the lowest number; squared, 4.
    EXPECT_EQ(tracker().compute_distance({INT_MAX, 0, INT_MAX, 0, 2, 0}, at(INT_MIN, 0)), 2.0F);
}

TEST(TrackerDistanceMatrix, HasARowForEachObjectAndAColumnForEachDetection) {
    const t_distance_matrix distances =
        tracker().compute_all_distances({at(0, 0), at(10, 0)}, {at(3, 4), at(10, 1), at(0, 0, 7)});
    EXPECT_THAT(distances,
                ElementsAre(ElementsAre(5.0F, std::sqrt(101.0F), kFar), ElementsAre(std::sqrt(65.0F), 1.0F, kFar)));
}

TEST(TrackerRowOrder, IsByMinimumThenBySmallerIndex) {
    EXPECT_THAT(tracker::min_argsort({{9, 5}, {1, 7}, {5, 6}, {kFar, kFar}, {0, kFar}}), ElementsAre(4, 1, 0, 2, 3));
    EXPECT_THAT(tracker::min_argsort({}), IsEmpty());
}

TEST(TrackerRowOrder, PutsRowsOfNaNLast) {
    EXPECT_THAT(tracker::min_argsort({{kNaN, kNaN}, {kFar, kNaN}, {kNaN, 3}, {2, kNaN}}), ElementsAre(3, 2, 1, 0));
}

TEST(TrackerColumnChoice, IsTheFirstSmallestInTheOrderOfTheRows) {
    EXPECT_THAT(tracker::argmin_rows({{9, 5, 5}, {1, 7, 1}, {kFar, kFar, kFar}}, {1, 2, 0}), ElementsAre(0, 0, 1));
    EXPECT_THAT(tracker::argmin_rows({{kNaN, 5, kNaN}, {kFar, kNaN, 8}}, {0, 1}), ElementsAre(1, 2));
}

// ---- The pass

TEST(Tracker, StartsEmptyWithAMaximumOf100Pixels) {
    const tracker tracked;
    EXPECT_THAT(tracked.m_Objects, IsEmpty());
    EXPECT_THAT(tracked.m_Disappeared, IsEmpty());
    EXPECT_EQ(tracked.m_MaxDistance, 100);
}

TEST(Tracker, InitStartsTheIdsAgainAndKeepsWhatIsTracked) {
    tracker tracked;
    tracked.track_rectangles({at(1, 1), at(500, 500)});
    EXPECT_EQ(tracked.init(7), 0);
    EXPECT_EQ(tracked.m_NextObjectId, 0);
    EXPECT_EQ(tracked.m_MaxDisappeared, 7);
    EXPECT_EQ(tracked.m_Objects.size(), 2U);
    tracked.set_max_disappeared(3);
    EXPECT_EQ(tracked.m_MaxDisappeared, 3);
}

TEST(Tracker, GivesIdsInTheOrderOfTheDetections) {
    tracker tracked;
    EXPECT_THAT(tracked.track_rectangles({at(300, 0), at(200, 0), at(100, 0)}),
                ElementsAre(Pair(0, Box(at(300, 0))), Pair(1, Box(at(200, 0))), Pair(2, Box(at(100, 0)))));
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 0), Pair(1, 0), Pair(2, 0)));
    EXPECT_EQ(tracked.m_NextObjectId, 3);
    EXPECT_THAT(tracked.list_object_keys(), ElementsAre(0, 1, 2));
    EXPECT_THAT(tracked.list_object_values(), ElementsAre(Box(at(300, 0)), Box(at(200, 0)), Box(at(100, 0))));
}

TEST(Tracker, KeepsTheIdOfAnObjectThatMoves) {
    tracker tracked;
    tracked.track_rectangles({at(0, 0), at(500, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(490, 0), at(10, 0)}),
                ElementsAre(Pair(0, Box(at(10, 0))), Pair(1, Box(at(490, 0)))));
}

TEST(Tracker, ForgetsAtOnceWithoutPatience) {
    tracker tracked;
    tracked.init(0);
    tracked.track_rectangles({at(0, 0), at(500, 0)});
    EXPECT_THAT(tracked.track_rectangles({}), IsEmpty());
    EXPECT_THAT(tracked.m_Disappeared, IsEmpty());
}

TEST(Tracker, ForgetsOnThePassAfterTheLastToleratedOne) {
    tracker tracked;
    tracked.init(2);
    tracked.track_rectangles({at(0, 0)});
    EXPECT_EQ(tracked.track_rectangles({}).size(), 1U);
    EXPECT_EQ(tracked.track_rectangles({}).size(), 1U);
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 2)));
    EXPECT_THAT(tracked.track_rectangles({}), IsEmpty());
}

TEST(Tracker, ForgetsAmongOthersByTheSameCount) {
    tracker tracked;
    tracked.init(1);
    tracked.track_rectangles({at(0, 0), at(10, 0)});
    tracked.track_rectangles({at(0, 0)});
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 0), Pair(1, 1)));
    EXPECT_THAT(tracked.track_rectangles({at(0, 0)}), ElementsAre(Pair(0, Box(at(0, 0)))));
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 0)));
}

TEST(Tracker, CountsMissedPassesFromTheLastMatch) {
    tracker tracked;
    tracked.init(2);
    tracked.track_rectangles({at(0, 0)});
    tracked.track_rectangles({});
    tracked.track_rectangles({});
    tracked.track_rectangles({at(0, 0)});
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 0)));
    tracked.track_rectangles({});
    EXPECT_EQ(tracked.track_rectangles({}).size(), 1U);
}

TEST(Tracker, DoesNotGiveAnIdAgain) {
    tracker tracked;
    tracked.init(0);
    tracked.track_rectangles({at(0, 0), at(500, 0)});
    tracked.track_rectangles({});
    EXPECT_THAT(tracked.track_rectangles({at(0, 0)}), ElementsAre(Pair(2, Box(at(0, 0)))));
}

TEST(Tracker, LetsAnotherClassTakeOverAnObject) {
    tracker tracked;
    tracked.track_rectangles({at(0, 0, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(10, 0, 2)}), ElementsAre(Pair(0, Box(at(10, 0, 2)))));
}

TEST(Tracker, LetsAFarDetectionTakeOverAnObject) {
    tracker tracked;
    tracked.track_rectangles({at(0, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(500, 0)}), ElementsAre(Pair(0, Box(at(500, 0)))));
    EXPECT_EQ(tracked.m_NextObjectId, 1);
}

TEST(Tracker, GivesAContestedDetectionToTheNearerObjectAndTheFreeOneANewId) {
    tracker tracked;
    tracked.init(5);
    tracked.track_rectangles({at(0, 0), at(30, 0)});
    // Both want (20, 0); object 1 is nearer. Object 0 does not try (0, 90), which becomes a new object.
    EXPECT_THAT(tracked.track_rectangles({at(20, 0), at(0, 90)}),
                ElementsAre(Pair(0, Box(at(0, 0))), Pair(1, Box(at(20, 0))), Pair(2, Box(at(0, 90)))));
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 1), Pair(1, 0), Pair(2, 0)));
}

TEST(Tracker, GivesADetectionAtEqualDistanceToTheSmallerId) {
    tracker tracked;
    tracked.init(5);
    tracked.track_rectangles({at(40, 0), at(0, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(20, 0)}), ElementsAre(Pair(0, Box(at(20, 0))), Pair(1, Box(at(0, 0)))));
}

TEST(Tracker, TakesTheFirstOfEquallyNearDetections) {
    tracker tracked;
    tracked.track_rectangles({at(20, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(40, 0), at(0, 0)}),
                ElementsAre(Pair(0, Box(at(40, 0))), Pair(1, Box(at(0, 0)))));
}

TEST(Tracker, ForgetsAndRegistersInTheSamePass) {
    tracker tracked;
    tracked.init(0);
    tracked.track_rectangles({at(0, 0), at(30, 0)});
    EXPECT_THAT(tracked.track_rectangles({at(20, 0), at(0, 90)}),
                ElementsAre(Pair(1, Box(at(20, 0))), Pair(2, Box(at(0, 90)))));
}

TEST(Tracker, RegistersAndForgetsOnRequest) {
    tracker tracked;
    EXPECT_EQ(tracked.register_one(at(1, 1)), 0);
    EXPECT_EQ(tracked.register_new_objects({at(2, 2), at(3, 3)}), 0);
    EXPECT_EQ(tracked.de_register_one(1), 0);
    EXPECT_EQ(tracked.de_register_one(77), 0);
    EXPECT_THAT(tracked.list_object_keys(), ElementsAre(0, 2));
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, 0), Pair(2, 0)));
}

TEST(Tracker, CountsWithoutOverflow) {
    tracker tracked;
    tracked.init(INT_MAX);
    tracked.track_rectangles({at(0, 0), at(50, 0)});
    tracked.m_Disappeared = {{0, INT_MAX}, {1, INT_MAX}};
    tracked.track_rectangles({});
    EXPECT_THAT(tracked.m_Disappeared, ElementsAre(Pair(0, INT_MIN), Pair(1, INT_MIN)));
}

// ---- Against a naive model

/** The same rules, written for the reader: sets, lists and 64-bit arithmetic. */
struct naive_tracker {
    struct object {
        int id;
        detection box;
        int missed;
    };
    std::vector<object> objects;
    int next_id = 0;
    int patience = 0;

    static double distance(const detection& a, const detection& b) {
        if (a.ClassId != b.ClassId)
            return 1e12;
        const auto wrapped = [](int64_t value) { return static_cast<int32_t>(value & 0xFFFFFFFF); };
        const int64_t dx =
            wrapped(static_cast<int64_t>(wrapped(int64_t{a.X} + a.W / 2)) - wrapped(int64_t{b.X} + b.W / 2));
        const int64_t dy =
            wrapped(static_cast<int64_t>(wrapped(int64_t{a.Y} + a.H / 2)) - wrapped(int64_t{b.Y} + b.H / 2));
        const int32_t squared = wrapped(int64_t{wrapped(dx * dx)} + wrapped(dy * dy));
        const auto length = static_cast<float>(std::sqrt(static_cast<double>(squared)));
        return length <= 100.0F ? static_cast<double>(length) : 1e12;
    }

    void pass(const t_detection_list& rects) {
        std::set<size_t> free_columns;
        for (size_t c = 0; c < rects.size(); ++c)
            free_columns.insert(c);
        std::set<size_t> waiting;
        for (size_t r = 0; r < objects.size(); ++r)
            waiting.insert(r);
        std::set<size_t> unmatched = waiting;
        const std::vector<object> before = objects;
        while (!rects.empty() && !waiting.empty()) {
            // The waiting object with the nearest detection, taken or not; the first of equal ones.
            size_t best_row = *waiting.begin();
            size_t best_col = 0;
            double best = 1e300;
            for (const size_t r : waiting)
                for (size_t c = 0; c < rects.size(); ++c)
                    if (distance(before[r].box, rects[c]) < best) {
                        best = distance(before[r].box, rects[c]);
                        best_row = r;
                        best_col = c;
                    }
            waiting.erase(best_row);
            if (free_columns.erase(best_col) == 1) {
                objects[best_row].box = rects[best_col];
                objects[best_row].missed = 0;
                unmatched.erase(best_row);
            }
        }
        for (const size_t r : unmatched)
            ++objects[r].missed;
        std::erase_if(objects, [this](const object& o) { return o.missed > patience; });
        for (const size_t c : free_columns)
            objects.push_back({next_id++, rects[c], 0});
    }
};

class RandomScene {
  public:
    explicit RandomScene(unsigned int seed) : m_random(seed) {}

    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }

    t_detection_list detections() {
        t_detection_list rects(static_cast<size_t>(std::max(0, between(-3, 12))));
        for (detection& rect : rects) {
            // A coarse grid, so that there are ties and contests; now and then a coordinate that makes things wrap.
            const int scale = between(0, 30) == 0 ? 200000000 : 15;
            rect = {between(0, 10) * scale, between(0, 10) * scale, between(-3, 40),
                    between(-3, 40),        between(0, 1),          static_cast<float>(between(0, 100)) / 100};
        }
        return rects;
    }

  private:
    std::mt19937 m_random;
};

TEST(TrackerAgainstNaiveModel, AgreesOnEveryPassOfRandomScenes) {
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomScene scene(seed);
        tracker tracked;
        naive_tracker model;
        model.patience = scene.between(0, 4);
        tracked.init(model.patience);
        for (int pass = 0; pass < 80; ++pass) {
            SCOPED_TRACE("pass " + std::to_string(pass));
            const t_detection_list rects = scene.detections();
            const t_objects_map& objects = tracked.track_rectangles(rects);
            model.pass(rects);
            ASSERT_EQ(objects.size(), model.objects.size());
            ASSERT_EQ(tracked.m_Disappeared.size(), model.objects.size());
            ASSERT_EQ(tracked.m_NextObjectId, model.next_id);
            auto object = objects.begin();
            auto missed = tracked.m_Disappeared.begin();
            for (const naive_tracker::object& expected : model.objects) {
                ASSERT_EQ(object->first, expected.id);
                ASSERT_TRUE(object->second == expected.box);
                ASSERT_EQ(missed->first, expected.id);
                ASSERT_EQ(missed->second, expected.missed);
                ++object;
                ++missed;
            }
        }
    }
}

} // namespace
