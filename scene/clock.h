#pragma once

#include <sys/time.h>

/**
 * The clock of the dwell times: the wall clock, unless a replay sets it to the time of its video. Main thread only.
 */
using dwell_clock = timeval (*)();

timeval dwell_time();

/** Null brings the wall clock back. */
void set_dwell_clock(dwell_clock clock);
