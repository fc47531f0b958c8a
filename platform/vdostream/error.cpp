#include "platform/vdostream/error.h"

#include <cstdio>

namespace vdostream {

void set_error(GError** error, failure code, const std::string& message) {
    g_set_error_literal(error, g_quark_from_static_string("korvex-vdostream"), static_cast<gint>(code),
                        message.c_str());
}

void say(const std::string& text) {
    std::fprintf(stderr, "korvex vdostream: %s\n", text.c_str());
}

} // namespace vdostream
