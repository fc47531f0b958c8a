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

/** Throws a platform::Failure. */
[[noreturn]] inline void fail(ErrorCode code, const std::string& text) {
    throw platform::Failure(code, platform::valid_utf8(text));
}

/** Runs an entry point's body: TRUE, or FALSE with the error. */
template <typename Body>
gboolean guarded(GError** error, Body body) noexcept {
    return platform::guarded(error, "korvex-axevent", [&] {
        body();
        return TRUE;
    });
}

/** One line on stderr. */
inline void complain(const std::string& text) {
    platform::report("axevent", text);
}

} // namespace host_events
