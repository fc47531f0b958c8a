#include "scene/clock.h"

#include <ctime>

namespace {

timeval time_since_boot() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return {now.tv_sec, now.tv_nsec / 1000};
}

dwell_clock g_clock = time_since_boot;
bool g_pass_time_counts = true;

} // namespace

timeval dwell_time() {
    return g_clock();
}

void set_dwell_clock(dwell_clock clock) {
    g_clock = clock != nullptr ? clock : time_since_boot;
}

bool pass_time_counts() {
    return g_pass_time_counts;
}

void set_pass_time_counts(bool counts) {
    g_pass_time_counts = counts;
}
