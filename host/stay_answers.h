#pragma once

#include "host/stay_record.h"
#include "platform/axoverlay/host_answers.h"

#include <optional>
#include <string>

namespace console {

/**
 * What the streams' server answers of the kept stays:
 *
 *   /stream/stays.json?from=TIME&to=TIME   those that began within the time (time_range.h), as {"stays": [...]};
 *   /stream/stays.csv?from=TIME&to=TIME    the same as a file for spreadsheets; without times: today
 *   /stream/stills/ID-LEVEL.jpg            the picture of an alert
 *   /stream/clips/ID-LEVEL.mp4             its video
 *
 * A query that makes no sense, or asks for more than 50,000 stays, is answered with 400 and a sentence. Nothing for any
 * other path. Any thread.
 */
std::optional<host_overlay::Answer> stay_answer(const StayFolder& folder, const std::string& path,
                                                const host_overlay::QueryArguments& query);

} // namespace console
