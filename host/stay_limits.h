#pragma once

#include "host/stay_record.h"

#include <cstdint>
#include <vector>

namespace console {

/** How long stays are kept, and how much. */
struct StayLimits {
    int days = 30;
    std::uint64_t bytes = 1000000000; // database, stills and clips together
};

/**
 * Removes the files of the stays that are over: those that ended more than `limits.days` before `now`, and, while all
 * takes more than `limits.bytes`, the oldest until nine tenths of it are left. Gives their ids; their rows are the
 * store's to remove. With `strangers` also the files that belong to no stay go: at the start, while nobody makes new
 * ones. One thread at a time, which may wait for the disk.
 */
std::vector<std::int64_t> sweep_stays(const StayFolder& folder, const StayLimits& limits, double now, bool strangers);

} // namespace console
