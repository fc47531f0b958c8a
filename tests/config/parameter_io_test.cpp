#include "app/app_main.h"
#include "config/config_params.h"
#include "config/parameter_io.h"
#include "scene/area_of_interest.h"
#include "tests/doubles/recording_vdo.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <map>
#include <string>

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

TEST_F(ParameterIo, HasATextForEachStatus) {
    const std::map<int, std::string> texts = {
        {50, "Unknown status"},
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
        {700, "No connection error"},
    };
    for (int code = -1000; code <= 1000; ++code) {
        const auto text = texts.find(code);
        EXPECT_EQ(parameter_io().status_to_string(code), text == texts.end() ? "Unknown default status" : text->second)
            << code;
    }
    for (const int code : {INT_MIN, INT_MAX})
        EXPECT_EQ(parameter_io().status_to_string(code), "Unknown default status");
}

TEST_F(ParameterIo, TellsTheStateInWords) {
    g_StatusCode = 503;
    g_ExecutionTime = -12;
    EXPECT_EQ(parameter_io().get_status_code(), "503");
    EXPECT_EQ(parameter_io().get_status_string(), "Second alert active");
    EXPECT_EQ(parameter_io().get_execution_time(), "-12");
    for (const bool portrait : {true, false}) {
        g_IsPortrait = portrait;
        EXPECT_EQ(parameter_io().get_is_portrait(), portrait ? "1" : "0");
    }
    g_StatusCode = 0;
    g_ExecutionTime = 0;
}

TEST_F(ParameterIo, ListsTheResolutionsOfTheCamera) {
    recording_vdo::offer({{{1920, 1080}, {640, 360}}, {{640, 360}}});
    EXPECT_EQ(parameter_io().CameraResolutionsAsCsv(), "640x360,1920x1080,");
    recording_vdo::reset();
}

} // namespace
