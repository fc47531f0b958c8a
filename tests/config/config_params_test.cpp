#include "config/config_params.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

TEST(ConfigParamsTest, FieldsHaveTheTypesOfTheStore) {
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

TEST(ConfigParamsTest, StartsWithEmptyTextsAndZeros) {
    const ConfigParams config;
    EXPECT_EQ(config.s_LandscapeModelFileName + config.s_PortraitModelFileName + config.str_DetectionOverlay +
                  config.str_AnonOverlay,
              "");
    EXPECT_EQ(config.i_WStream, 0);
    EXPECT_EQ(config.i_HStream, 0);
    EXPECT_FALSE(config.b_EulaAccepted);
    EXPECT_EQ(config.i_Detection1[15], 0);
}

} // namespace
