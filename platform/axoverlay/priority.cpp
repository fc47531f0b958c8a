#include "platform/axoverlay/priority.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

namespace host_overlay {

namespace {

constexpr int kLastNiceness = 19;
constexpr int kNiceness = 10; // the web thread's

} // namespace

// Both calls are for the calling thread alone. Each may be refused where a sandbox does so; then viewers cost more.

void give_way_to_all() {
    setpriority(PRIO_PROCESS, 0, kLastNiceness);
    const sched_param none{};
    sched_setscheduler(0, SCHED_IDLE, &none);
}

void give_way_to_analysis() {
    setpriority(PRIO_PROCESS, 0, std::min(getpriority(PRIO_PROCESS, 0) + kNiceness, kLastNiceness));
}

} // namespace host_overlay
