#include "base/timer.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace std::chrono_literals;

namespace {

TEST(TimerTest, StartsWhenItIsMade) {
    const auto before = std::chrono::steady_clock::now();
    const Timer timer;
    EXPECT_LE(before, timer._start);
    EXPECT_LE(timer._start, std::chrono::steady_clock::now());
}

TEST(TimerTest, TockTakesTheEnd) {
    Timer timer;
    const auto before = std::chrono::steady_clock::now();
    timer.tock();
    EXPECT_LE(before, timer._end);
    EXPECT_LE(timer._end, std::chrono::steady_clock::now());
}

TEST(TimerTest, ElapsedIsWholeMillisecondsCutOff) {
    static_assert(std::is_same_v<decltype(Timer().elapsed()), int64_t>);
    static_assert(std::is_same_v<decltype(Timer::_start), std::chrono::steady_clock::time_point>);
    Timer timer;
    const struct {
        std::chrono::steady_clock::duration span;
        int64_t milliseconds;
    } spans[] = {{0ms, 0}, {999us, 0}, {1ms, 1}, {1999us, 1}, {2500ms, 2500}, {-1500us, -1}, {720h, 2592000000}};
    for (const auto& [span, milliseconds] : spans) {
        timer._end = timer._start + span;
        EXPECT_EQ(timer.elapsed(), milliseconds);
    }
}

TEST(TimerTest, AsecondTockReplacesTheFirst) {
    Timer timer;
    timer._end = timer._start + 1h;
    timer.tock();
    EXPECT_LT(timer.elapsed(), 3600000);
}

} // namespace
