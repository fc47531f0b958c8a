#pragma once

#include "platform/common/glib.h"
#include "platform/common/report.h"

namespace host_parameters {

using platform::Failure;

/** The codes of the errors this library reports; `exists` is the one that callers tell apart by its number. */
enum class ErrorCode : gint { handle = 1, argument = 2, manifest = 3, store = 4, unknown_name = 5, exists = 13 };

/** Throws a Failure. */
[[noreturn]] inline void fail(ErrorCode code, const std::string& text) {
    throw Failure(code, platform::valid_utf8(text));
}

inline bool is(const Failure& failure, ErrorCode code) {
    return failure.code == static_cast<int>(code);
}

[[noreturn]] inline void fail_existing(const std::string& name) {
    fail(ErrorCode::exists, "The parameter \"" + name + "\" exists already.");
}

template <typename Body>
auto guarded(GError** error, Body body) noexcept {
    return platform::guarded(error, "korvex-axparameter", body);
}

/** One line on stderr. */
inline void complain(const std::string& sentence) {
    platform::report("korvex axparameter", sentence + ".");
}

} // namespace host_parameters
