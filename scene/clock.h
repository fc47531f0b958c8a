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

/** Whether a pass can be slow. Not where its time is no machine's: a replay says no. Main thread only. */
bool pass_time_counts();
void set_pass_time_counts(bool counts);
