#include "host/time_range.h"
#include "tests/host/stay_fixture.h"

namespace {

using console::parse_moment;
using console::parse_range;

class TimeRangeTest : public StayTest {};

std::string problem_of(const std::string& range) {
    try {
        parse_range(range);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "";
}

TEST_F(TimeRangeTest, MomentsAreReadAsPeopleAndPagesWriteThem) {
    EXPECT_EQ(parse_moment("2025-11-22"), noon - 12 * 3600);
    EXPECT_EQ(parse_moment("2025-11-22T12:00"), noon);
    EXPECT_EQ(parse_moment("2025-11-22T12:00:01"), noon + 1);
    EXPECT_EQ(parse_moment("2025-11-22T12:00:00.250"), noon + 0.25);
    EXPECT_EQ(parse_moment("2025-11-22T11:00:00Z"), noon);
    EXPECT_EQ(parse_moment("2025-11-22T11:00:00.000Z"), noon);
    EXPECT_EQ(parse_moment("2025-11-22T13:00+02:00"), noon);
    EXPECT_EQ(parse_moment("2025-11-22T13:00 02:00"), noon); // of a query in which nobody escaped the plus
    EXPECT_EQ(parse_moment("2025-11-22T06:00:00-0500"), noon);
}

TEST_F(TimeRangeTest, AnythingElseIsNoMoment) {
    for (const char* text : {"", "today", "2025-11", "2025-13-01", "2025-11-31", "2025-11-22T25:00", "2025-11-22 12:00",
                             "2025-11-22T", "22.11.2025", "2025-11-22T12:00:00+", "2025-11-22x", "-2025-11-22",
                             "2025-11-22T12:00:00.0000000000000000000000000000001"})
        EXPECT_FALSE(parse_moment(text)) << text;
}

TEST_F(TimeRangeTest, ARangeIsFromATimeToAnotherOrOneDay) {
    EXPECT_EQ(parse_range("2025-11-22T12:00..2025-11-22T12:01").from, noon);
    EXPECT_EQ(parse_range("2025-11-22T12:00..2025-11-22T12:01").to, noon + 60);
    EXPECT_EQ(parse_range("2025-11-22").from, noon - 12 * 3600);
    EXPECT_EQ(parse_range("2025-11-22").to, noon + 12 * 3600);
}

TEST_F(TimeRangeTest, WithoutTimesItIsToday) {
    const console::TimeRange today = console::range_between("", "");
    const auto now = static_cast<double>(time(nullptr));
    EXPECT_LE(today.from, now);
    EXPECT_GT(today.to, now);
    EXPECT_EQ(today.to - today.from, 86400.0);
}

TEST_F(TimeRangeTest, WhatIsNoneIsSaidInASentence) {
    EXPECT_EQ(problem_of("yesterday"), "\"yesterday\" is no range of time; it is to be FROM..TO, like "
                                       "2026-11-22..2026-11-23, or one date.");
    EXPECT_EQ(problem_of("now..2025-11-22"), "\"now\" is no time; it is to be a date like 2026-11-22, or a time like "
                                             "2026-11-22T08:35 with or without a zone such as +01:00.");
    EXPECT_EQ(problem_of("2025-11-22..2025-11-22"),
              "The time is to begin before it ends: 2025-11-22T00:00:00.000+01:00 is not before "
              "2025-11-22T00:00:00.000+01:00.");
}

TEST_F(TimeRangeTest, MomentsAreShownInTheMachinesZone) {
    EXPECT_EQ(console::iso_text(noon + 0.123456), "2025-11-22T12:00:00.123+01:00");
    EXPECT_EQ(console::plain_text(noon + 0.999), "2025-11-22 12:00:00");
    EXPECT_EQ(console::plain_text(1e300), "1970-01-01 01:00:00");
}

TEST_F(TimeRangeTest, WhatIsShownIsReadAgain) {
    for (double moment : {noon, noon + 0.5, noon - 1e8, noon + 1e8 + 0.25})
        EXPECT_EQ(parse_moment(console::iso_text(moment)), moment);
}

} // namespace
