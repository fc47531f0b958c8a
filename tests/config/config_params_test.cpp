#include "config/config_params.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <numeric>
#include <type_traits>
#include <utility>

namespace {

ConfigParams filled() {
    ConfigParams config;
    config.l_LarodChipType = LAROD_CHIP_TFLITE_ARTPEC8DLPU;
    config.i_ModelWidth = 960;
    config.i_ModelHeight = 540;
    config.i_MainLoopTime = 200;
    config.s_LandscapeModelFileName = "a model whose name is longer than a small string's buffer.tflite";
    config.s_PortraitModelFileName = "portrait";
    config.b_EulaAccepted = true;
    std::iota(std::begin(config.i_Exclusion1), std::end(config.i_Exclusion1), 100);
    std::iota(std::begin(config.i_Exclusion2), std::end(config.i_Exclusion2), 200);
    std::iota(std::begin(config.i_Exclusion3), std::end(config.i_Exclusion3), 300);
    config.b_Exclusion1Active = true;
    config.b_Exclusion3Active = true;
    std::iota(std::begin(config.i_Detection1), std::end(config.i_Detection1), 400);
    config.i_DetectionControlPoints = 4;
    config.i_WStream = 1280;
    config.i_HStream = 720;
    config.i_MinNumberOfPeopleForTrigger = 2;
    config.f_Sensitivity = 0.5F;
    config.b_AnonOverlaysOn = true;
    config.str_DetectionOverlay = "1280x720";
    config.str_AnonOverlay = "640x360";
    config.i_MaxDisappeared = 15;
    config.b_DetectCars = config.b_DetectBoats = true;
    config.b_Alert2 = true;
    config.i_Alert1ThreshSeconds = 5;
    config.i_Alert2ThreshSeconds = 10;
    config.i_Alert3ThreshSeconds = -1;
    return config;
}

void expect_filled(const ConfigParams& config) {
    const ConfigParams expected = filled();
    EXPECT_EQ(config.l_LarodChipType, expected.l_LarodChipType);
    EXPECT_EQ(config.i_ModelWidth, expected.i_ModelWidth);
    EXPECT_EQ(config.i_ModelHeight, expected.i_ModelHeight);
    EXPECT_EQ(config.i_MainLoopTime, expected.i_MainLoopTime);
    EXPECT_EQ(config.s_LandscapeModelFileName, expected.s_LandscapeModelFileName);
    EXPECT_EQ(config.s_PortraitModelFileName, expected.s_PortraitModelFileName);
    EXPECT_EQ(config.b_EulaAccepted, expected.b_EulaAccepted);
    EXPECT_TRUE(std::ranges::equal(config.i_Exclusion1, expected.i_Exclusion1));
    EXPECT_TRUE(std::ranges::equal(config.i_Exclusion2, expected.i_Exclusion2));
    EXPECT_TRUE(std::ranges::equal(config.i_Exclusion3, expected.i_Exclusion3));
    EXPECT_EQ(config.b_Exclusion1Active, expected.b_Exclusion1Active);
    EXPECT_EQ(config.b_Exclusion2Active, expected.b_Exclusion2Active);
    EXPECT_EQ(config.b_Exclusion3Active, expected.b_Exclusion3Active);
    EXPECT_TRUE(std::ranges::equal(config.i_Detection1, expected.i_Detection1));
    EXPECT_EQ(config.i_DetectionControlPoints, expected.i_DetectionControlPoints);
    EXPECT_EQ(config.i_WStream, expected.i_WStream);
    EXPECT_EQ(config.i_HStream, expected.i_HStream);
    EXPECT_EQ(config.i_MinNumberOfPeopleForTrigger, expected.i_MinNumberOfPeopleForTrigger);
    EXPECT_EQ(config.f_Sensitivity, expected.f_Sensitivity);
    EXPECT_EQ(config.b_DetectionOverlaysOn, expected.b_DetectionOverlaysOn);
    EXPECT_EQ(config.b_AnonOverlaysOn, expected.b_AnonOverlaysOn);
    EXPECT_EQ(config.str_DetectionOverlay, expected.str_DetectionOverlay);
    EXPECT_EQ(config.str_AnonOverlay, expected.str_AnonOverlay);
    EXPECT_EQ(config.i_MaxDisappeared, expected.i_MaxDisappeared);
    EXPECT_EQ(config.b_DetectPersons, expected.b_DetectPersons);
    EXPECT_EQ(config.b_DetectCars, expected.b_DetectCars);
    EXPECT_EQ(config.b_DetectMotorcycles, expected.b_DetectMotorcycles);
    EXPECT_EQ(config.b_DetectBicycles, expected.b_DetectBicycles);
    EXPECT_EQ(config.b_DetectAirplanes, expected.b_DetectAirplanes);
    EXPECT_EQ(config.b_DetectBuses, expected.b_DetectBuses);
    EXPECT_EQ(config.b_DetectTrains, expected.b_DetectTrains);
    EXPECT_EQ(config.b_DetectTrucks, expected.b_DetectTrucks);
    EXPECT_EQ(config.b_DetectBoats, expected.b_DetectBoats);
    EXPECT_EQ(config.b_Alert1, expected.b_Alert1);
    EXPECT_EQ(config.b_Alert2, expected.b_Alert2);
    EXPECT_EQ(config.b_Alert3, expected.b_Alert3);
    EXPECT_EQ(config.i_Alert1ThreshSeconds, expected.i_Alert1ThreshSeconds);
    EXPECT_EQ(config.i_Alert2ThreshSeconds, expected.i_Alert2ThreshSeconds);
    EXPECT_EQ(config.i_Alert3ThreshSeconds, expected.i_Alert3ThreshSeconds);
}

TEST(ConfigParamsTest, fieldsHaveTheTypesOfTheStore) {
    static_assert(std::is_same_v<decltype(ConfigParams::i_ModelWidth), uint32_t>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_ModelHeight), uint32_t>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_MainLoopTime), int32_t>);
    static_assert(std::is_same_v<decltype(ConfigParams::l_LarodChipType), larodChip>);
    static_assert(std::is_same_v<decltype(ConfigParams::f_Sensitivity), float>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_Exclusion1), int32_t[8]>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_Exclusion2), int32_t[8]>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_Exclusion3), int32_t[8]>);
    static_assert(std::is_same_v<decltype(ConfigParams::i_Detection1), int32_t[16]>);
    static_assert(sizeof(larodChip) == 4);
}

TEST(ConfigParamsTest, startsWithEmptyTextsAndZeros) {
    const ConfigParams config;
    EXPECT_EQ(config.s_LandscapeModelFileName + config.s_PortraitModelFileName + config.str_DetectionOverlay +
                  config.str_AnonOverlay,
              "");
    EXPECT_EQ(config.i_WStream, 0);
    EXPECT_EQ(config.i_HStream, 0);
    EXPECT_FALSE(config.b_EulaAccepted);
    EXPECT_EQ(config.i_Detection1[15], 0);
}

TEST(ConfigParamsTest, copiesCarryEveryField) {
    const ConfigParams original = filled();
    const ConfigParams copy(original);
    expect_filled(copy);
    ConfigParams assigned;
    assigned.str_AnonOverlay = "old";
    assigned = original;
    expect_filled(assigned);
    expect_filled(original);
}

TEST(ConfigParamsTest, movesCarryEveryField) {
    ConfigParams original = filled();
    ConfigParams moved(std::move(original));
    expect_filled(moved);
    ConfigParams assigned;
    assigned = std::move(moved);
    expect_filled(assigned);
}

} // namespace
