#include "tests/doubles/recording_syslog.h"

#include <cstdarg>
#include <cstdio>
#include <string>

call_recorder& recording_syslog::recorder() {
    static auto& instance = *new call_recorder; // the web thread may still call at the end
    return instance;
}

extern "C" {

void __wrap_openlog(const char* ident, int options, int facility) {
    recording_syslog::recorder().call(call_line("openlog", ident, options, facility));
}

void __wrap_syslog(int priority, const char* format, ...) {
    char text[1024] = {};
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    recording_syslog::recorder().call(call_line("syslog", priority, std::string(text)));
}

void __wrap_closelog() {
    recording_syslog::recorder().call("closelog");
}
}
