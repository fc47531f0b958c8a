#pragma once

#include "platform/common/failure.h"
#include "platform/common/handle.h"

#include <glib-object.h>

#include <exception>
#include <string>
#include <type_traits>

namespace platform {

template <typename Object>
using ObjectHandle = Handle<Object, g_object_unref>;

/** Fills `error`, which may be NULL. Gives false, so that a failure is one `return`. */
inline bool set_error(GError** error, const char* domain, int code, const std::string& text) {
    g_set_error_literal(error, g_quark_from_static_string(domain), code, text.c_str());
    return false;
}

/**
 * Runs an entry point's body; what it throws becomes the error, and the result is then `failed`. No exception leaves a
 * C interface.
 */
template <typename Body, typename Result = std::invoke_result_t<Body>>
Result guarded(GError** error, const char* domain, Body body, Result failed = {}) noexcept {
    try {
        return body();
    } catch (const Failure& failure) {
        set_error(error, domain, failure.code, failure.sentence);
    } catch (const std::exception& problem) {
        set_error(error, domain, 0, problem.what());
    }
    return failed;
}

/** For texts with bytes of a caller's, since a GError's message is UTF-8. */
inline std::string valid_utf8(const std::string& text) {
    g_autofree gchar* valid = g_utf8_make_valid(text.c_str(), -1);
    return valid;
}

/** Of a failure that may have come without an error. */
inline std::string reason(const GError* error) {
    return error != nullptr ? error->message : "no reason given";
}

} // namespace platform
