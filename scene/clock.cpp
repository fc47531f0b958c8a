#include "scene/clock.h"

namespace {

timeval wall_clock() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

dwell_clock g_clock = wall_clock;

} // namespace

timeval dwell_time() {
    return g_clock();
}

void set_dwell_clock(dwell_clock clock) {
    g_clock = clock != nullptr ? clock : wall_clock;
}
