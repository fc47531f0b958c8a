#pragma once

#include "platform/vdostream/video_source.h"

namespace vdostream {

/**
 * The source that the environment names, opened; the same one as long as some stream holds it. Null with `why` set
 * when it cannot be opened.
 */
std::shared_ptr<VideoSource> acquire_source(std::string& why);

} // namespace vdostream
