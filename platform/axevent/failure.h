#pragma once

#include "platform/common/glib.h"
#include "platform/common/report.h"

namespace host_events {

/** The codes of the errors this library reports in a GError. */
enum class ErrorCode : gint {
    argument = 1,      // a NULL or malformed argument
    unknown_key = 2,   // the set or the declaration has no such key
    duplicate_key = 3, // the set has the key already
    wrong_type = 4,    // the event's value is of another type than the declared one
    no_topic = 5,      // the set to declare names no topic
    not_declared = 6,  // no declaration of this handler has the id
};

inline constexpr const char* error_domain = "korvex-axevent";

/** Fills `error` (which may be NULL) and gives FALSE, so that a failure is one `return`. */
inline gboolean fail(GError** error, ErrorCode code, const std::string& text) {
    return platform::set_error(error, error_domain, static_cast<gint>(code), platform::valid_utf8(text)) ? TRUE : FALSE;
}

/** One line on stderr. */
inline void complain(const std::string& text) {
    platform::report("axevent", text);
}

} // namespace host_events
