#pragma once

#include "host/stay_record.h"
#include "platform/axevent/host_events.h"

#include <string>

namespace console {

/** 1 to 3; 0 for an event that is no alert. */
int level_of_alert(const std::string& name);

/** What a webhook gets of an alert that starts, on one line:

        {"alert": text, "level": 1 to 3, "time": the event's,
         "stay": {"id": n, "object": n, "class": index, "label": text, "entered": time, "seconds": n},
         "still": address of the picture | null}

    `pages` is the address of the pages with a slash at its end; without it the picture's is a path. */
std::string json_of_alert(const host_events::Occurrence& alert, const StayRecord& stay, const std::string& pages,
                          bool has_still);

} // namespace console
