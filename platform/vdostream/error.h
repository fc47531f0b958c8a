#pragma once

#include "platform/common/glib.h"

namespace vdostream {

using platform::Failure;
using platform::need;

/** Codes of this library's GErrors; their domain is "korvex-vdostream". */
enum class Code { bad_argument = 1, bad_setting, no_source, not_running, silent };

template <typename Body>
auto guarded(GError** error, Body body) noexcept {
    return platform::guarded(error, "korvex-vdostream", body);
}

} // namespace vdostream
