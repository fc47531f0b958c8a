#include "config/parameter_io.h"

#include "config/config_params.h"
#include "config/shared_field.h"
#include "detection/common_structs.h"
#include "scene/area_of_interest.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

/** The first `count` points of x0, y0, x1, y1 ... */
t_Polygon first_points(const int32_t* coordinates, size_t count) {
    t_Polygon points;
    points.reserve(count);
    for (size_t i = 0; i < count; ++i)
        points.emplace_back(read_shared(coordinates[2 * i]), read_shared(coordinates[2 * i + 1]));
    return points;
}

void store_exclusion(int index, const int32_t (&coordinates)[8], const bool& active) {
    g_AreaofInterest.set_exclusion_active(index, read_shared(active));
    g_AreaofInterest.set_exclusion(index, first_points(coordinates, 4));
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
    store_exclusion(1, g_ConfigParams.i_Exclusion1, g_ConfigParams.b_Exclusion1Active);
    store_exclusion(2, g_ConfigParams.i_Exclusion2, g_ConfigParams.b_Exclusion2Active);
    store_exclusion(3, g_ConfigParams.i_Exclusion3, g_ConfigParams.b_Exclusion3Active);
}
