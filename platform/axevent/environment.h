#pragma once

#include "platform/axevent/complain.h"

#include <glib.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace host_events {

/** Empty when it is not set. */
inline std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/** The default when it is not set, and with a message when it is no number of that range. */
inline std::uint64_t environment_number(const char* name, std::uint64_t otherwise, std::uint64_t least,
                                        std::uint64_t most) {
    const std::string text = environment(name);
    guint64 number = 0;
    if (text.empty()) {
        return otherwise;
    }
    if (g_ascii_string_to_unsigned(text.c_str(), 10, least, most, &number, nullptr) == FALSE) {
        complain(std::string(name) + " is '" + text + "', which is no number from " + std::to_string(least) + " to " +
                 std::to_string(most) + "; " + std::to_string(otherwise) + " is used");
        return otherwise;
    }
    return number;
}

} // namespace host_events
