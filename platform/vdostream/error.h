#pragma once

#include "platform/common/glib.h"

#include <cstddef>

namespace vdostream {

/** Codes of this library's GErrors; their domain is "korvex-vdostream". */
enum class Failure { bad_argument = 1, bad_setting, no_source, not_running, silent };

/** Fills `error`, which may be NULL, and gives false, so that a failure is one `return`. */
inline bool fail(GError** error, Failure code, const std::string& message) {
    return platform::set_error(error, "korvex-vdostream", static_cast<int>(code), message);
}

/** The same where a pointer is given. */
inline std::nullptr_t nothing(GError** error, Failure code, const std::string& message) {
    fail(error, code, message);
    return nullptr;
}

} // namespace vdostream
