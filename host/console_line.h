#pragma once

#include "detection/common_structs.h"

#include <cstddef>
#include <string>

/** The text of the live console's one line. */
namespace console {

/** What one look at the application's published values found. */
struct Snapshot {
    int status = 0;
    int pass_ms = 0;
    double passes_per_second = 0.0;
    double frames_per_second = 0.0; // of the source, as it says itself; 0 when unknown
    t_detection_list detections;
    double source_seconds = 0.0; // of the source's video that have been read; 0 when unknown
};

/** "status 200 | 63 ms | 5.0 passes/s | source 25.0 fps at 12.4 s | Car 0.62 at 400,300 120x66, ..."; without a
   newline. A pass that did not run has no time and no detections. */
std::string line_of(const Snapshot& snapshot);

/** Cut to `columns` characters, the last three "..." then, so that a terminal does not wrap it. */
std::string fitted(const std::string& line, size_t columns);

/** What shows the line on a terminal, in the place of the one shown before: below the cursor and two empty rows, at
   whose start the cursor stays. So what a library has to say on stderr meanwhile, and it knows nothing of the line,
   stands whole above it; only more than two rows of it have the line's end beside them. The line must fit into a row.
 */
std::string below_cursor(const std::string& line);

/** What clears the line that below_cursor() has shown, for something that is to stand in its place. */
constexpr const char* clear_below = "\r\x1b[J";

} // namespace console
