#pragma once

#include "vdo-types.h"

#include <string>
#include <vector>

namespace vdostream {

/** The one channel of the host camera. */
inline constexpr guint only_channel = 1;

/**
 * The sizes that channel 1 offers: those of KORVEX_VDO_RESOLUTIONS ("1280x720,640x360"), or the built-in list. False
 * with `why` set when the variable cannot be read so.
 */
bool offered_resolutions(std::vector<VdoResolution>& offered, std::string& why);

} // namespace vdostream
