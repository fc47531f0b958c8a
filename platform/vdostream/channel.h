#pragma once

#include "vdo-types.h"

#include <vector>

namespace vdostream {

/** The one channel of the host camera. */
inline constexpr guint only_channel = 1;

/**
 * The sizes that channel 1 offers: those of KORVEX_VDO_RESOLUTIONS ("1280x720,640x360"), or the built-in list. Throws a
 * Failure when the variable cannot be read so.
 */
std::vector<VdoResolution> offered_resolutions();

} // namespace vdostream
