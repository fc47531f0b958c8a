#include "platform/street/schedule.h"
#include "platform/street/street_scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

namespace {

using host_scene::Actor;
using host_scene::Kind;

constexpr double step = 0.04;

bool is_vehicle(const Actor& each) {
    return each.what != Kind::person;
}

double centre_y(const Actor& each) {
    return each.ground - host_scene::height_of(each.what) * each.scale / 2.0;
}

/** Even-odd crossing count, unlike the application's winding number. */
bool is_in_area(const Actor& each) {
    const double y = centre_y(each);
    bool inside = false;
    const auto& area = host_scene::suggested_area;
    for (std::size_t i = 0; i < area.size(); ++i) {
        const auto& from = area[i];
        const auto& to = area[(i + 1) % area.size()];
        if ((from.y > y) != (to.y > y) && each.x < from.x + (y - from.y) * (to.x - from.x) / (to.y - from.y))
            inside = !inside;
    }
    return inside;
}

struct visit {
    double entered;
    double left;
    double stood = 0.0;
};

/** Every vehicle's time in the area, over one cycle and what of it reaches into the next. */
std::map<int, visit> visits() {
    std::map<int, visit> all;
    std::map<int, double> last_x;
    for (double seconds = 90.0; seconds < 190.0; seconds += step) {
        for (const Actor& each : host_scene::actors_at(seconds)) {
            if (!is_vehicle(each) || !is_in_area(each))
                continue;
            visit& its = all.try_emplace(each.id, visit{seconds, seconds}).first->second;
            its.left = seconds;
            if (last_x.contains(each.id) && last_x[each.id] == each.x)
                its.stood += step;
            last_x[each.id] = each.x;
        }
    }
    return all;
}

TEST(ScheduleTest, StaysLastSixTwelveAndTwentyFiveSecondsAndEverythingElseDrivesThrough) {
    std::vector<double> stays;
    for (const auto& [id, its] : visits()) {
        if (its.stood == 0.0) {
            EXPECT_LT(its.left - its.entered, 2.0) << id;
        } else if (its.entered < 180.0) {
            stays.push_back(its.stood);
            // Braking and driving off stay short enough for 6 s to raise the first alert alone and 12 s the second.
            EXPECT_NEAR(its.left - its.entered, its.stood + 1.7, 0.2);
        }
    }
    EXPECT_THAT(stays, testing::UnorderedElementsAre(testing::DoubleNear(6.0, 0.1), testing::DoubleNear(12.0, 0.1),
                                                     testing::DoubleNear(25.0, 0.1)));
}

TEST(ScheduleTest, TheAreaIsFreeOfVehiclesForFourSecondsBeforeEachStay) {
    const auto all = visits();
    int stays = 0;
    for (const auto& [id, its] : all) {
        if (its.stood == 0.0 || its.entered < 94.1)
            continue;
        ++stays;
        double free_since = 90.0;
        for (const auto& [other, before] : all) {
            if (before.entered < its.entered)
                free_since = std::max(free_since, before.left);
        }
        EXPECT_GE(its.entered - free_since, 4.0) << id;
    }
    EXPECT_GE(stays, 3);
}

TEST(ScheduleTest, NoVehicleHidesAnother) {
    for (double seconds = 90.0; seconds < 180.0; seconds += step) {
        std::vector<Actor> vehicles = host_scene::actors_at(seconds);
        std::erase_if(vehicles, [](const Actor& each) { return !is_vehicle(each); });
        for (std::size_t i = 0; i < vehicles.size(); ++i) {
            for (std::size_t j = i + 1; j < vehicles.size(); ++j) {
                const Actor& a = vehicles[i];
                const Actor& b = vehicles[j];
                const double wide =
                    (host_scene::length_of(a.what) * a.scale + host_scene::length_of(b.what) * b.scale) / 2;
                const double tall =
                    (host_scene::height_of(a.what) * a.scale + host_scene::height_of(b.what) * b.scale) / 2;
                EXPECT_TRUE(std::abs(a.x - b.x) >= wide || std::abs(centre_y(a) - centre_y(b)) >= tall)
                    << a.id << " and " << b.id << " at " << seconds;
            }
        }
    }
}

TEST(ScheduleTest, RepeatsItselfUnderNewIds) {
    for (const double seconds : {0.0, 3.0, 33.3, 60.0, 89.9}) {
        const auto first = host_scene::actors_at(seconds);
        const auto second = host_scene::actors_at(seconds + host_scene::cycle_seconds);
        ASSERT_EQ(first.size(), second.size()) << seconds;
        for (std::size_t i = 0; i < first.size(); ++i) {
            EXPECT_GT(second[i].id, first[i].id);
            EXPECT_EQ(first[i].what, second[i].what);
            EXPECT_NEAR(first[i].x, second[i].x, 1e-6);
        }
    }
}

TEST(ScheduleTest, AnIdBelongsToOneAppearanceThatMovesWithoutJumps) {
    std::map<int, Actor> last;
    std::set<int> gone;
    for (double seconds = 0.0; seconds < 200.0; seconds += step) {
        std::map<int, Actor> now;
        for (const Actor& each : host_scene::actors_at(seconds)) {
            EXPECT_TRUE(now.emplace(each.id, each).second) << "twice at once: " << each.id;
            EXPECT_FALSE(gone.contains(each.id)) << each.id;
            const auto before = last.find(each.id);
            if (before != last.end()) {
                EXPECT_LT(std::abs(each.x - before->second.x), 290.0 * step) << each.id;
            }
        }
        for (const auto& [id, each] : last) {
            if (!now.contains(id))
                gone.insert(id);
        }
        last = std::move(now);
    }
    EXPECT_GT(gone.size(), 40U);
}

} // namespace
