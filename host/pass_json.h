#pragma once

#include "host/explanation.h"
#include "host/problems.h"
#include "scene/finding.h"

#include <string>
#include <vector>

namespace console {

/** An alert that a pass started or stopped. */
struct AlertChange {
    std::string name;
    bool active = false;
};

/** A followed object, and why it counts or does not. */
struct ExplainedFinding {
    one_find find;
    Explanation explanation;
};

/** What one pass of a replay found. */
struct PassRecord {
    double seconds = 0.0; // in the video
    int status = 0;
    t_detection_list detections;
    std::vector<ExplainedFinding> findings;
    std::vector<AlertChange> alerts; // in the order in which they happened
};

/** The record as one JSON object, without a newline:

        {"time": s, "status": code,
         "detections": [{"class": index, "label": text, "box": [x, y, width, height], "score": 0 to 1}],
         "findings": [{"id": n, "class": index, "label": text, "box": [...], "score": 0 to 1 or
                       null, "footing": 0 to 4, "seconds": n,
                       "state": the footing's name, "reason": why it counts or not, "unseen": passes,
                       "unseen_seconds": s}],
         "alerts": [{"name": text, "active": true|false}]}

    on one line; host/replay.schema.json is its JSON schema. Boxes are in pixels of the analysed stream. The same record
   gives the same bytes whatever the locale.
 */
std::string json_of_pass(const PassRecord& record);

/** What one pass of the live application found, for the pages that listen. */
struct LiveRecord {
    double time = 0.0; // seconds since the epoch
    int width = 0;     // of the analysed stream, in whose pixels the boxes are
    int height = 0;
    int status = 0;
    std::vector<ExplainedFinding> findings;
    std::vector<Problem> problems; // those that stand
};

/** Likewise, in the same words:

        {"time": s, "size": [width, height], "status": code, "findings": [as above],
         "problems": [{"kind": "video", "since": s, "text": "No video since 08:35"}]}
 */
std::string json_of_live_pass(const LiveRecord& record);

} // namespace console
