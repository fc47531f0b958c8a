#pragma once

#include "scene/finding.h"

#include <string>
#include <vector>

namespace console {

/** An alert that a pass started or stopped. */
struct AlertChange {
    std::string name;
    bool active = false;
};

/** What one pass of a replay found. */
struct PassRecord {
    double seconds = 0.0; // in the video
    int status = 0;
    t_detection_list detections;
    t_findings_list findings;
    std::vector<AlertChange> alerts; // in the order in which they happened
};

/** The record as one JSON object, without a newline:

        {"time": s, "status": code,
         "detections": [{"class": index, "label": text, "box": [x, y, width, height], "score": 0 to 1}],
         "findings": [{"id": n, "class": index, "label": text, "box": [...], "footing": 0 to 4, "seconds": n}],
         "alerts": [{"name": text, "active": true|false}]}

    on one line. Boxes are in pixels of the analysed stream. The same record gives the same bytes whatever the locale.
 */
std::string json_of_pass(const PassRecord& record);

} // namespace console
