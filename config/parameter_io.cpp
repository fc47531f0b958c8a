#include "config/parameter_io.h"

#include "base/run_state.h"
#include "base/shared_field.h"
#include "config/settings.h"
#include "detection/common_structs.h"
#include "output/camera_resolutions.h"
#include "scene/area_of_interest.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

struct status_text {
    int code;
    const char* text;
};

constexpr std::array<status_text, 18> kStatusTexts = {
    {{50, "Unknown status"},
     {100, "Starting"},
     {200, "Running"},
     {300, "Stopped"},
     {400, "Data error"},
     {401, "AI error"},
     {402, "Locations error"},
     {403, "AOI error"},
     {405, "Findings error"},
     {406, "Events error"},
     {408, "EULA has not been accepted (if EULA is not shown, press Ctrl+F5)"},
     {500, "Area event active"},
     {501, "Occupancy event active"},
     {502, "First alert active"},
     {503, "Second alert active"},
     {504, "Third alert active"},
     {600, "Slow"},
     {700, "No connection error"}}};

/** The first `count` points of x0, y0, x1, y1 ... */
t_Polygon first_points(const int32_t* coordinates, size_t count) {
    t_Polygon points;
    points.reserve(count);
    for (size_t i = 0; i < count; ++i)
        points.emplace_back(read_shared(coordinates[2 * i]), read_shared(coordinates[2 * i + 1]));
    return points;
}

} // namespace

void parameter_io::store_points_into_AOI() {
    const int32_t in_use = read_shared(g_ConfigParams.i_DetectionControlPoints);
    size_t count = 4;
    if (in_use > 4)
        count = in_use == 8 ? 8 : 6;
    g_AreaofInterest.set_detection(1, first_points(g_ConfigParams.i_Detection1, count));
}

void parameter_io::store_points_into_exclusions() {
    for (int index = 1; const auto& [corners, active] : kExclusionZones) {
        const auto points = std::get<int32_t(ConfigParams::*)[8]>(setting_of(corners).field);
        const auto on = std::get<bool ConfigParams::*>(setting_of(active).field);
        g_AreaofInterest.set_exclusion_active(index, read_shared(g_ConfigParams.*on));
        g_AreaofInterest.set_exclusion(index, first_points(g_ConfigParams.*points, 4));
        ++index;
    }
}

std::string parameter_io::get_status_code() {
    return std::to_string(g_StatusCode);
}

std::string parameter_io::get_status_string() {
    return status_to_string(g_StatusCode);
}

std::string parameter_io::get_execution_time() {
    return std::to_string(g_ExecutionTime);
}

std::string parameter_io::get_is_portrait() {
    return g_IsPortrait ? "1" : "0";
}

std::string parameter_io::status_to_string(int code) {
    for (const status_text& status : kStatusTexts)
        if (status.code == code)
            return status.text;
    return "Unknown default status";
}

std::string parameter_io::CameraResolutionsAsCsv() {
    return getCamerasResolutionsAsCsv();
}
