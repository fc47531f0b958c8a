#pragma once

#include <sys/time.h>

/**
 * The clock of the dwell times: the time since the machine was switched on, the time for which it was suspended
 * included, unless a replay sets it to the time of its video. Setting the machine's date does not move it. Main thread
 * only.
 */
using dwell_clock = timeval (*)();

timeval dwell_time();

/** Null brings the machine's own time back. */
void set_dwell_clock(dwell_clock clock);
