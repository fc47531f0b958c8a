#pragma once

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

// Both calls are for the calling thread alone. Each may be refused where a sandbox does so; then viewers cost more.
namespace host_overlay {

inline constexpr int last_niceness = 19;

/**
 * Who makes pictures gives way to everything else: from here on the calling thread has what the analysis and every
 * other thread of the process leave over. There is no way back, not even for root's thread that has lost its rights.
 *
 * So what such a thread shares with the analysis it holds for a few instructions only: it may be put aside for long
 * while it does.
 */
inline void give_way_to_all() {
    setpriority(PRIO_PROCESS, 0, last_niceness);
    const sched_param none{};
    sched_setscheduler(0, SCHED_IDLE, &none);
}

/** Who passes pictures on gives way to the analysis, as the web thread does. */
inline void give_way_to_analysis() {
    constexpr int step = 10; // the web thread's
    setpriority(PRIO_PROCESS, 0, std::min(getpriority(PRIO_PROCESS, 0) + step, last_niceness));
}

} // namespace host_overlay
