#include "host/stays.h"
#include "output/event_manager.h"

#include <gmock/gmock.h>

namespace {

using console::Stay;
using console::StayWatch;
using console::Summary;

constexpr int car = 2;
constexpr int bus = 5;

one_find find(int id, footings footing, int seconds, int class_id = car) {
    one_find made;
    made.id = id;
    made.footing = footing;
    made.seconds = seconds;
    made.detect.ClassId = class_id;
    return made;
}

TEST(StayWatchTest, AStayLastsFromTheFirstPassInTheAreaToTheLast) {
    StayWatch watch;
    EXPECT_TRUE(watch.pass({find(1, not_in_AOI, 0)}, 1.0).empty());
    EXPECT_TRUE(watch.going_on().empty());
    EXPECT_TRUE(watch.pass({find(1, in_AOI1_briefly, 0)}, 2.0).empty());
    EXPECT_TRUE(watch.pass({find(1, in_AOI1_more_lengthily, 9), find(2, in_AOI1_briefly, 0, bus)}, 11.0).empty());
    EXPECT_EQ(watch.going_on().size(), 2U);
    const auto ended = watch.pass({find(1, not_in_AOI, 0), find(2, in_AOI1_briefly, 1, bus)}, 12.0);
    ASSERT_EQ(ended.size(), 1U);
    EXPECT_EQ(ended[0].object, 1);
    EXPECT_EQ(ended[0].class_id, car);
    EXPECT_EQ(ended[0].entered, 2.0);
    EXPECT_EQ(ended[0].left, 11.0);
    EXPECT_EQ(ended[0].seconds, 9);
    EXPECT_EQ(ended[0].level, 2);
    EXPECT_THAT(ended[0].reached, testing::ElementsAre(11.0, 11.0, -1.0));
    const auto forgotten = watch.pass({}, 13.0);
    ASSERT_EQ(forgotten.size(), 1U);
    EXPECT_EQ(forgotten[0].object, 2);
    EXPECT_EQ(forgotten[0].level, 0);
}

TEST(StayWatchTest, WhoComesBackBeginsAnotherStay) {
    StayWatch watch;
    watch.pass({find(1, in_AOI1_lengthily, 7)}, 1.0);
    watch.pass({find(1, not_in_AOI, 0)}, 2.0);
    watch.pass({find(1, in_AOI1_briefly, 0)}, 3.0);
    const auto left = watch.end();
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].entered, 3.0);
    EXPECT_EQ(left[0].seconds, 0);
    EXPECT_EQ(left[0].level, 0);
    EXPECT_TRUE(watch.end().empty());
}

TEST(SummaryTest, TellsStaysTheLongestAndTheAlertsByLevel) {
    Summary summary;
    EXPECT_EQ(summary.text(), "no stay; no First Alert, no Second Alert, no Third Alert");
    summary.add({Stay{.object = 1, .class_id = car, .seconds = 3}, Stay{.object = 2, .class_id = bus, .seconds = 26}});
    summary.add({Stay{.object = 3, .class_id = car, .seconds = 8}});
    summary.add_alert(kFirstAlert);
    summary.add_alert(kFirstAlert);
    summary.add_alert(kSecondAlert);
    EXPECT_EQ(summary.text(), "3 stays, the longest a Bus's of 26 s; 2 First Alerts, 1 Second Alert, no Third Alert");
}

} // namespace
