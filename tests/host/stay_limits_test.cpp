#include "host/stay_limits.h"
#include "host/stay_store.h"
#include "tests/host/stay_fixture.h"

namespace {

using console::StayLimits;
using console::StayRecord;
using console::StayStore;
using console::sweep_stays;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double day = 86400.0;

class StayLimitsTest : public StayTest {
  protected:
    StayLimitsTest() : m_store(folder().database()) {}

    /** A stay with a still of so many bytes. */
    void keep(const StayRecord& record, size_t bytes) {
        m_store.write({record});
        make_file(folder().still(record.id, 1), bytes);
    }
    bool has_still(std::int64_t id) const { return std::filesystem::exists(folder().still(id, 1)); }

    StayStore m_store;
};

TEST_F(StayLimitsTest, WhatEndedLongAgoGoesWithItsFiles) {
    keep(record(1, -31.0 * day, 60, 1), 10);
    keep(record(2, -30.0 * day - 30.0, 60, 1), 10);
    StayRecord there = record(3, -40.0 * day, 60, 1);
    there.is_there = true;
    keep(there, 10);
    EXPECT_THAT(sweep_stays(folder(), {30, 1000000}, noon, false), ElementsAre(1));
    EXPECT_FALSE(has_still(1));
    EXPECT_TRUE(has_still(2));
    EXPECT_TRUE(has_still(3));
}

TEST_F(StayLimitsTest, WhatIsTooMuchGoesFromTheOldestUntilNineTenthsAreLeft) {
    for (int id = 1; id <= 10; ++id)
        keep(record(id, 100.0 - id, 1, 1), 1000); // the highest is the oldest
    make_file(folder().clip(10, 1), 500);
    EXPECT_THAT(sweep_stays(folder(), {30, 20000}, noon, false), IsEmpty());
    EXPECT_THAT(sweep_stays(folder(), {30, 10000}, noon, false), ElementsAre(10, 9, 8));
    EXPECT_FALSE(std::filesystem::exists(folder().clip(10, 1)));
    EXPECT_TRUE(has_still(7));
}

TEST_F(StayLimitsTest, FilesOfNoStayGoAtTheStartOnly) {
    keep(record(1, 0.0, 1, 1), 10);
    make_file(folder().still(99, 1));
    make_file(folder().stills() + "/12-1.jpg.new");
    make_file(folder().clips() + "/strange");
    sweep_stays(folder(), {30, 1000000}, noon, false);
    EXPECT_TRUE(has_still(99));
    EXPECT_THAT(sweep_stays(folder(), {30, 1000000}, noon, true), IsEmpty());
    EXPECT_FALSE(has_still(99));
    EXPECT_TRUE(std::filesystem::is_empty(folder().clips()));
    EXPECT_TRUE(has_still(1));
}

TEST_F(StayLimitsTest, ADatabaseThatCannotBeReadIsToldAndNothingGoes) {
    const console::StayFolder other(state + "/other");
    make_file(other.still(99, 1));
    make_file(other.database(), 5000);
    EXPECT_THROW(sweep_stays(other, {30, 1000000}, noon, true), std::runtime_error);
    EXPECT_TRUE(std::filesystem::exists(other.still(99, 1)));
}

} // namespace
