#pragma once

#include "platform/vdostream/video_source.h"

namespace vdostream {

/** Of the replay: see host_video.h. */
bool advance_all_sources(double seconds);

} // namespace vdostream
