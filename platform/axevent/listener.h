#pragma once

#include "platform/axevent/host_events.h"

namespace host_events {

/** Calls the listener; false when there is none. */
bool tell_listener(const Occurrence& occurrence);

/** The line for a person: "<time> <nice name>: started", or declared, stopped, sent, undeclared. No newline. */
std::string console_line(const Occurrence& occurrence);

} // namespace host_events
