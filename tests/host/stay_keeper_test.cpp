#include "host/stay_keeper.h"
#include "tests/host/stay_fixture.h"

namespace {

using console::StayKeeper;
using console::StayRecord;
using testing::ElementsAre;
using testing::IsEmpty;

class StayKeeperTest : public StayTest {
  protected:
    StayKeeper keeper() {
        return StayKeeper(folder(), {[this] { return steady; }, [this] { return noon + date; }},
                          [this](const StayRecord& record, int level) {
                              rises.push_back(console::StayFolder::name_of(record.id, level));
                              kept_at_rise.push_back(kept().at(0).stay.level);
                          });
    }

    static one_find find(int id, footings footing, int seconds) {
        one_find made;
        made.id = id;
        made.footing = footing;
        made.seconds = seconds;
        made.detect.ClassId = car;
        return made;
    }

    void pass_time(double seconds) {
        steady += seconds;
        date += seconds;
    }

    std::vector<StayRecord> kept() const { return console::read_stays(folder().database(), {0.0, 1e12}, 1000); }

    double steady = 1000.0;
    double date = 0.0;
    std::vector<std::string> rises;
    std::vector<int> kept_at_rise;
};

TEST_F(StayKeeperTest, AStayIsOnRecordWhenItBeginsRisesAndEnds) {
    StayKeeper stays = keeper();
    stays.look({find(7, in_AOI1_briefly, 0)});
    ASSERT_EQ(kept().size(), 1U);
    EXPECT_TRUE(kept()[0].is_there);
    EXPECT_EQ(kept()[0].stay.entered, noon);
    pass_time(5.0);
    stays.look({find(7, in_AOI1_lengthily, 5)});
    EXPECT_EQ(kept()[0].stay.level, 1);
    EXPECT_EQ(kept()[0].stay.reached[0], noon + 5.0);
    EXPECT_THAT(rises, ElementsAre("1-1"));
    EXPECT_THAT(kept_at_rise, ElementsAre(1)); // on record before anybody is told
    pass_time(0.2);
    stays.look({});
    EXPECT_FALSE(kept()[0].is_there);
    EXPECT_EQ(kept()[0].stay.left, noon + 5.0);
    EXPECT_EQ(kept()[0].stay.seconds, 5);
    EXPECT_THAT(ids_of(stays.take_ended()), ElementsAre(1));
    EXPECT_THAT(stays.take_ended(), IsEmpty());
}

TEST_F(StayKeeperTest, LookingTwiceAtAPassChangesNothing) {
    StayKeeper stays = keeper();
    stays.look({find(7, in_AOI1_most_lengthily, 15)});
    stays.look({find(7, in_AOI1_most_lengthily, 15)});
    EXPECT_THAT(rises, ElementsAre("1-1", "1-2", "1-3"));
    EXPECT_EQ(kept().size(), 1U);
}

TEST_F(StayKeeperTest, WhileAStayLastsItIsWrittenEveryFewSeconds) {
    StayKeeper stays = keeper();
    for (int second = 0; second <= 9; ++second) {
        stays.look({find(7, in_AOI1_briefly, second)});
        EXPECT_LE(second - kept()[0].stay.seconds, 4);
        pass_time(1.0);
    }
}

TEST_F(StayKeeperTest, SettingTheDateStretchesNoStay) {
    StayKeeper stays = keeper();
    stays.look({find(7, in_AOI1_briefly, 0)});
    pass_time(10.0);
    date -= 3600.0;
    stays.look({find(7, in_AOI1_lengthily, 10), find(8, in_AOI1_briefly, 0)});
    stays.finish();
    const auto records = kept();
    ASSERT_THAT(ids_of(records), ElementsAre(2, 1));
    EXPECT_EQ(records[1].stay.left, noon + 10.0);
    EXPECT_EQ(records[1].stay.reached[0], noon + 10.0);
    EXPECT_EQ(records[0].stay.entered, noon + 10.0 - 3600.0);
}

TEST_F(StayKeeperTest, WhoIsThereAtTheEndHasLeftThen) {
    StayKeeper stays = keeper();
    stays.look({find(7, in_AOI1_briefly, 0), find(8, in_AOI1_briefly, 0)});
    stays.finish();
    EXPECT_THAT(ids_of(stays.take_ended()), ElementsAre(1, 2));
    EXPECT_FALSE(kept()[0].is_there);
}

TEST_F(StayKeeperTest, WhatAKillLeftOpenEndsWhenItWasLastWritten) {
    {
        StayKeeper killed = keeper();
        killed.look({find(7, in_AOI1_lengthily, 5)});
    }
    testing::internal::CaptureStderr();
    StayKeeper stays = keeper();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "stays: 1 stays had not ended when the camera was cut off; they end at the time at which they were last "
              "written down\n");
    EXPECT_THAT(ids_of(stays.take_ended()), ElementsAre(1));
    EXPECT_FALSE(kept()[0].is_there);
}

TEST_F(StayKeeperTest, TheLatestAtALevelIsTheOneThatReachedItLast) {
    StayKeeper stays = keeper();
    EXPECT_EQ(stays.latest_at(1), nullptr);
    stays.look({find(7, in_AOI1_more_lengthily, 12), find(8, in_AOI1_briefly, 3)});
    pass_time(2.0);
    stays.look({find(7, in_AOI1_more_lengthily, 14), find(8, in_AOI1_lengthily, 5)});
    EXPECT_EQ(stays.latest_at(1)->stay.object, 8);
    EXPECT_EQ(stays.latest_at(2)->stay.object, 7);
    EXPECT_EQ(stays.latest_at(3), nullptr);
}

TEST_F(StayKeeperTest, ThoseThatAreOverGoSomeAtATime) {
    StayKeeper stays = keeper();
    t_findings_list many;
    std::vector<std::int64_t> ids;
    for (int id = 1; id <= 120; ++id) {
        many.push_back(find(id, in_AOI1_briefly, 0));
        ids.push_back(id);
    }
    stays.look(many);
    stays.look({});
    stays.forget(ids);
    stays.look({});
    EXPECT_EQ(kept().size(), 70U);
    stays.look({});
    stays.look({});
    EXPECT_THAT(kept(), IsEmpty());
}

} // namespace
