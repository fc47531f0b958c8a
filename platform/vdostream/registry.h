#pragma once

#include "platform/vdostream/video_source.h"

namespace vdostream {

/**
 * The source that the environment names, opened; the same one as long as some stream holds it. Throws a Failure when it
 * cannot be opened.
 */
std::shared_ptr<VideoSource> acquire_source();

} // namespace vdostream
