#pragma once

#include "platform/axoverlay/geometry.h"
#include "platform/axoverlay/host_answers.h"

#include <vdo-types.h>

#include <string>
#include <vector>

namespace host_overlay {

/** What a request asks for, or why it is refused. */
struct StreamRequest {
    unsigned status = 200; // 200, 400 or 404; with the last two only `sentence` counts
    std::string sentence;
    Geometry geometry;
    bool motion = false; // the multipart stream (.mjpg), not one picture (.jpg)
};

/**
 * Reads "/stream/WIDTHxHEIGHT.mjpg" or ".jpg" and the query's `rotation` and `mirror`. 404: no such path, or a size
 * that the camera does not offer; 400: anything malformed.
 */
StreamRequest parse_stream_request(const std::string& path, const QueryArguments& query,
                                   const std::vector<VdoResolution>& offered);

} // namespace host_overlay
