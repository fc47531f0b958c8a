#include "config/config_params.h"
#include "detection/location_controller_larod.h"
#include "scene/area_of_interest.h"
#include "scene/clock.h"
#include "scene/detection_processing.h"
#include "scene/tracker.h"
#include "tests/doubles/core_fixture.h"

#include <ctime>

namespace {

time_t g_date_is_ahead = 0; // seconds by which the machine's date has been set forward
time_t g_later = 0;         // seconds that have passed for every clock

} // namespace

extern "C" {
int __real_clock_gettime(clockid_t, timespec*);
int __real_gettimeofday(timeval*, void*);
time_t __real_time(time_t*);

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    const int result = __real_clock_gettime(clock, now);
    now->tv_sec += g_later + (clock == CLOCK_REALTIME ? g_date_is_ahead : 0);
    return result;
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    const int result = __real_gettimeofday(now, zone);
    now->tv_sec += g_later + g_date_is_ahead;
    return result;
}

time_t __wrap_time(time_t* now) {
    const time_t result = __real_time(nullptr) + g_later + g_date_is_ahead;
    if (now != nullptr)
        *now = result;
    return result;
}
}

namespace {

timeval video_time() {
    return {1234, 567};
}

TEST(DwellClock, IsTheTimeSinceTheMachineWasSwitchedOn) {
    timespec before{};
    __real_clock_gettime(CLOCK_BOOTTIME, &before);
    const timeval now = dwell_time();
    timespec after{};
    __real_clock_gettime(CLOCK_BOOTTIME, &after);
    const auto microseconds = [](time_t seconds, long fraction) { return seconds * 1000000 + fraction; };
    EXPECT_GE(microseconds(now.tv_sec, now.tv_usec), microseconds(before.tv_sec, before.tv_nsec / 1000));
    EXPECT_LE(microseconds(now.tv_sec, now.tv_usec), microseconds(after.tv_sec, after.tv_nsec / 1000));
}

TEST(DwellClock, CanBeReplacedAndBroughtBack) {
    const time_t before = dwell_time().tv_sec;
    set_dwell_clock(video_time);
    EXPECT_EQ(dwell_time().tv_sec, 1234);
    EXPECT_EQ(dwell_time().tv_usec, 567);
    set_dwell_clock(nullptr);
    EXPECT_GE(dwell_time().tv_sec, before);
    EXPECT_LT(dwell_time().tv_sec, before + 1000);
}

/** A car that stands in an area which is all there is. */
class DwellAndTheDate : public core_fixture {
  protected:
    DwellAndTheDate() {
        g_ConfigParams = {};
        g_ConfigParams.b_DetectCars = true;
        g_ConfigParams.i_Alert1ThreshSeconds = 500;
        g_ConfigParams.i_Alert2ThreshSeconds = 1000;
        g_ConfigParams.i_Alert3ThreshSeconds = 1500;
        g_Tracker.init(0);
        g_AreaofInterest = {};
        g_AreaofInterest.set_detection(1, {{0, 0}, {1000, 0}, {1000, 1000}, {0, 1000}});
        g_Id2Time.clear();
        pass();
    }
    ~DwellAndTheDate() override {
        g_date_is_ahead = 0;
        g_later = 0;
        g_Id2Time.clear();
        g_findings.clear();
        g_ConfigParams = {};
    }

    static const one_find& pass() {
        constexpr int car = 2;
        g_detections = {{100, 100, 10, 10, car, 0.9F}};
        DetectionProcessing::monitor_AOI();
        DetectionProcessing::examine_and_update_findings();
        return g_findings.at(0);
    }
};

TEST_F(DwellAndTheDate, SettingTheDateChangesNoDwellTime) {
    for (const time_t ahead : {0, 3600, -3600, 1000000000}) {
        g_date_is_ahead = ahead;
        const one_find& found = pass();
        EXPECT_GE(found.seconds, 0) << ahead;
        EXPECT_LT(found.seconds, 500) << ahead;
        EXPECT_EQ(found.footing, in_AOI1_briefly) << ahead;
    }
}

TEST_F(DwellAndTheDate, TimeThatPassesStillCounts) {
    g_date_is_ahead = -3600;
    g_later = 1200;
    const one_find& found = pass();
    EXPECT_GE(found.seconds, 1200);
    EXPECT_LT(found.seconds, 1500);
    EXPECT_EQ(found.footing, in_AOI1_more_lengthily);
}

} // namespace
