#pragma once

#include <glib.h>

#include <string>

namespace host_parameters {

/** The codes of the errors this library reports; `exists` is the one that callers tell apart by its number. */
enum class ErrorCode : gint { handle = 1, argument = 2, manifest = 3, store = 4, unknown_name = 5, exists = 13 };

/** Fills `error` (which may be NULL) and gives false, so that a failure is one `return`. */
inline bool fail(GError** error, ErrorCode code, const std::string& text) {
    // Names and values of any bytes may stand in the text; a GError's message is UTF-8.
    g_autofree gchar* message = g_utf8_make_valid(text.c_str(), -1);
    g_set_error_literal(error, g_quark_from_static_string("korvex-axparameter"), static_cast<gint>(code), message);
    return false;
}

inline bool exists_already(const std::string& name, GError** error) {
    return fail(error, ErrorCode::exists, "The parameter \"" + name + "\" exists already.");
}

} // namespace host_parameters
