#include "platform/console/pass_json.h"

#include "detection/location_controller_larod.h"

#include <glib.h>

#include <cmath>

namespace console {
namespace {

/** JSON has no word for what is not finite; such a score reads as null. */
std::string number(double value, const char* format) {
    if (!std::isfinite(value)) {
        return "null";
    }
    gchar text[G_ASCII_DTOSTR_BUF_SIZE + 320]; // "%.4f" of the largest double has 309 digits before the point
    return g_ascii_formatd(text, sizeof text, format, value);
}

std::string json_of(const detection& found) {
    // Labels come from a table of plain words.
    return "{\"class\": " + std::to_string(found.ClassId) + ", \"label\": \"" +
           location_controller_larod::ClassIDToLabel(found.ClassId) +
           "\", \"score\": " + number(static_cast<double>(found.Confidence), "%.4f") + ", \"box\": [" +
           std::to_string(found.X) + ", " + std::to_string(found.Y) + ", " + std::to_string(found.W) + ", " +
           std::to_string(found.H) + "]}";
}

} // namespace

std::string json_of_pass(double seconds, int status, const t_detection_list& detections) {
    std::string text =
        "{\"time\": " + number(seconds, "%.3f") + ", \"status\": " + std::to_string(status) + ", \"detections\": [";
    const char* separator = "";
    for (const detection& found : detections) {
        text += separator + json_of(found);
        separator = ", ";
    }
    return text + "]}";
}

} // namespace console
