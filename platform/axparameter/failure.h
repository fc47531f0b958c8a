#pragma once

#include "platform/common/glib.h"
#include "platform/common/report.h"

namespace host_parameters {

/** The codes of the errors this library reports; `exists` is the one that callers tell apart by its number. */
enum class ErrorCode : gint { handle = 1, argument = 2, manifest = 3, store = 4, unknown_name = 5, exists = 13 };

/** Fills `error` (which may be NULL) and gives false, so that a failure is one `return`. */
inline bool fail(GError** error, ErrorCode code, const std::string& text) {
    return platform::set_error(error, "korvex-axparameter", static_cast<gint>(code), platform::valid_utf8(text));
}

inline bool exists_already(const std::string& name, GError** error) {
    return fail(error, ErrorCode::exists, "The parameter \"" + name + "\" exists already.");
}

/** One line on stderr. */
inline void complain(const std::string& sentence) {
    platform::report("korvex axparameter", sentence + ".");
}

} // namespace host_parameters
