#pragma once

#include <glib.h>

#include <string>

namespace vdostream {

/** Codes of this library's GErrors; their domain is "korvex-vdostream". */
enum class failure { bad_argument = 1, bad_setting, no_source, not_running, silent };

void set_error(GError** error, failure code, const std::string& message);

/** One line "korvex vdostream: <text>" on standard error. */
void say(const std::string& text);

} // namespace vdostream
