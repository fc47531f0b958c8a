#pragma once

#include "scene/finding.h"

#include <string>

namespace console {

/** Why a followed object counts, or does not, in the words of pages, replays and README. */
struct Explanation {
    std::string reason;          // "counts", "class off", "outside", "excluded by zone 2", "excluded by zones 1 and 3"
    int unseen = 0;              // passes since it was last seen: it is only remembered
    double unseen_seconds = 0.0; // the same, when passes keep their period
};

/** Of a finding of the pass that has just been made. Main thread. */
Explanation explain(const one_find& find);

/** "outside", "briefly", "lengthily", "more lengthily" or "most lengthily". */
const char* name_of(footings footing);

} // namespace console
