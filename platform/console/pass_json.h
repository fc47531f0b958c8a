#pragma once

#include "detection/common_structs.h"

#include <string>

namespace console {

/** One pass as one JSON object, without a newline: {"time": seconds in the video, "status": code, "detections":
    [{"class": index, "label": text, "score": 0 to 1, "box": [x, y, width, height]}]}. Boxes are in pixels of the
   analysed stream. The same values give the same bytes whatever the locale. */
std::string json_of_pass(double seconds, int status, const t_detection_list& detections);

} // namespace console
