#include "host/console_line.h"

#include "detection/object_class.h"

#include <glib.h>

#include <cstdarg>

namespace console {
namespace {

std::string formatted(const char* format, ...) G_GNUC_PRINTF(1, 2);
std::string formatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_autofree gchar* text = g_strdup_vprintf(format, arguments);
    va_end(arguments);
    return text;
}

/** A pass that reached the inference: anything but a start, a missing agreement or a failure. */
bool has_results(int status) {
    return status == 200 || status >= 500;
}

} // namespace

std::string line_of(const Snapshot& snapshot) {
    std::string line = formatted("status %d", snapshot.status);
    if (has_results(snapshot.status))
        line += formatted(" | %d ms", snapshot.pass_ms);
    line += formatted(" | %.1f passes/s", snapshot.passes_per_second);
    if (snapshot.frames_per_second > 0.0) {
        line += formatted(" | source %.1f fps", snapshot.frames_per_second);
        if (snapshot.source_seconds > 0.0)
            line += formatted(" at %.1f s", snapshot.source_seconds);
    }
    if (!has_results(snapshot.status))
        return line;
    const char* separator = " | ";
    for (const detection& found : snapshot.detections) {
        line += formatted("%s%s %.2f at %d,%d %dx%d", separator, class_label(found.ClassId).c_str(),
                          static_cast<double>(found.Confidence), found.X, found.Y, found.W, found.H);
        separator = ", ";
    }
    return snapshot.detections.empty() ? line + " | nothing detected" : line;
}

std::string fitted(const std::string& line, size_t columns) {
    if (line.size() <= columns || columns < 3)
        return line;
    return line.substr(0, columns - 3) + "...";
}

std::string below_cursor(const std::string& line) {
    return clear_below + ("\n\n" + line) + "\r\x1b[2A";
}

} // namespace console
