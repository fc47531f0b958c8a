#include "config/config_params.h"
#include "config/parameter_io.h"
#include "scene/area_of_interest.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

namespace {

class ParameterIo : public testing::Test {
  protected:
    ParameterIo() {
        g_ConfigParams = {};
        g_AreaofInterest = {};
        for (int i = 0; i < 16; ++i)
            g_ConfigParams.i_Detection1[i] = 100 + i;
        for (int i = 0; i < 8; ++i) {
            g_ConfigParams.i_Exclusion1[i] = 200 + i;
            g_ConfigParams.i_Exclusion2[i] = 300 + i;
            g_ConfigParams.i_Exclusion3[i] = 400 + i;
        }
    }
};

/** `count` points that count up from `first`. */
t_Polygon points_from(int first, size_t count) {
    t_Polygon points;
    for (size_t i = 0; i < count; ++i, first += 2)
        points.emplace_back(first, first + 1);
    return points;
}

TEST_F(ParameterIo, GivesTheAreaFourSixOrEightPoints) {
    struct {
        int in_use;
        size_t points;
    } const cases[] = {{INT_MIN, 4}, {0, 4}, {3, 4}, {4, 4}, {5, 6}, {6, 6}, {7, 6}, {8, 8}, {9, 6}, {INT_MAX, 6}};
    for (const auto& c : cases) {
        g_ConfigParams.i_DetectionControlPoints = c.in_use;
        parameter_io().store_points_into_AOI();
        EXPECT_EQ(g_AreaofInterest.get_detection(1), points_from(100, c.points)) << c.in_use;
    }
}

TEST_F(ParameterIo, GivesTheAreaTheThreeZonesWithTheirSwitches) {
    g_ConfigParams.b_Exclusion1Active = true;
    g_ConfigParams.b_Exclusion3Active = true;
    parameter_io().store_points_into_exclusions();
    EXPECT_EQ(g_AreaofInterest.get_exclusion(1), points_from(200, 4));
    EXPECT_EQ(g_AreaofInterest.get_exclusion(2), points_from(300, 4));
    EXPECT_EQ(g_AreaofInterest.get_exclusion(3), points_from(400, 4));
    EXPECT_TRUE(g_AreaofInterest.get_exclusion_active(1));
    EXPECT_FALSE(g_AreaofInterest.get_exclusion_active(2));
    EXPECT_TRUE(g_AreaofInterest.get_exclusion_active(3));

    g_ConfigParams.b_Exclusion1Active = false;
    parameter_io().store_points_into_exclusions();
    EXPECT_FALSE(g_AreaofInterest.get_exclusion_active(1));
    EXPECT_EQ(g_AreaofInterest.get_exclusion(1), points_from(200, 4));
}

TEST_F(ParameterIo, LeavesTheOtherPolygonsAlone) {
    parameter_io().store_points_into_AOI();
    EXPECT_TRUE(g_AreaofInterest.get_exclusion(1).empty());
    g_AreaofInterest.set_detection(1, {{1, 2}});
    parameter_io().store_points_into_exclusions();
    EXPECT_EQ(g_AreaofInterest.get_detection(1), (t_Polygon{{1, 2}}));
}

} // namespace
