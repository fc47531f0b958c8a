#pragma once

#include "host/stay_limits.h"

#include <optional>
#include <string>

namespace console {

/** What a live run is to remember. */
struct StaySettings {
    std::string state; ///< the state folder
    StayLimits limits;
};

/** From KORVEX_STAYS, the state folder, KORVEX_STAYS_DAYS and KORVEX_STAYS_MB. Nothing when the first is not set.
   Throws std::runtime_error with a sentence about a number that is none. */
std::optional<StaySettings> stay_settings_from_environment();

} // namespace console
