#pragma once

#include "platform/vdostream/geometry.h"
#include "platform/vdostream/map.h"

#include <cstdint>

namespace vdostream {

/** A stream's settings after they have been found possible. */
struct StreamSettings {
    Geometry shape;
    /** Frames a second asked for; 0 for the source's own. */
    std::uint32_t framerate;
    /** The application allocates and enqueues the buffers. */
    bool explicit_buffers;
};

/** Even and from 16 to 4096 pixels each way: what every consumer of NV12 here can take. */
bool is_possible_size(std::uint32_t width, std::uint32_t height);

/**
 * Reads `asked` and KORVEX_VDO_ASPECT. A missing "channel" is 1, a missing "format" YUV, a missing "rotation" or
 * "framerate" 0; the size is needed. Throws a Failure for anything that cannot be honoured, unknown names included.
 */
StreamSettings read_settings(const MapValues& asked);

} // namespace vdostream
