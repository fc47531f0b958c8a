#pragma once

#include <cstdio>
#include <string>

namespace host_events {

/** One line on stderr: what the event service itself has to say, since no caller can be told. */
inline void complain(const std::string& text) {
    std::fprintf(stderr, "axevent: %s\n", text.c_str());
}

} // namespace host_events
