#include "scene/clock.h"

#include <gtest/gtest.h>

namespace {

timeval video_time() {
    return {1234, 567};
}

TEST(DwellClock, IsTheWallClock) {
    timeval before{};
    gettimeofday(&before, nullptr);
    const timeval now = dwell_time();
    timeval after{};
    gettimeofday(&after, nullptr);
    EXPECT_FALSE(timercmp(&now, &before, <));
    EXPECT_FALSE(timercmp(&now, &after, >));
}

TEST(DwellClock, CanBeReplacedAndBroughtBack) {
    set_dwell_clock(video_time);
    EXPECT_EQ(dwell_time().tv_sec, 1234);
    EXPECT_EQ(dwell_time().tv_usec, 567);
    set_dwell_clock(nullptr);
    EXPECT_GT(dwell_time().tv_sec, 1500000000);
}

} // namespace
