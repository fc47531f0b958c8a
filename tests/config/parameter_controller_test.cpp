#include "base/logger.h"
#include "config/parameter_controller.h"
#include "tests/config/all_parameters.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/fake_axparameter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <set>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kRotation = "root.Image.I0.Appearance.Rotation";

class ParameterControllerTest : public core_fixture {
  protected:
    ~ParameterControllerTest() override { ax_parameter_free(controller.m_Parameter); }

    void open() {
        controller.init_controller("korvex_orvel");
        fake_axparameter::recorder().reset();
        forget_log();
    }

    static texts calls(const std::string& function) { return fake_axparameter::recorder().calls(function); }
    static texts journal() { return fake_axparameter::recorder().journal(); }

    parameter_controller controller;
};

TEST_F(ParameterControllerTest, HasNoHandleAndNoRotationAtFirst) {
    EXPECT_EQ(controller.m_Parameter, nullptr);
    EXPECT_EQ(controller.get_rotation(), 0);
}

TEST_F(ParameterControllerTest, OpensReadsTheRotationAndRegistersAllParameters) {
    fake_axparameter::put(kRotation, "90");
    const texts log = log_of([this] { controller.init_controller("korvex_orvel"); });

    texts expected = {"ax_parameter_new korvex_orvel", std::string("ax_parameter_get ") + kRotation};
    for (const std::string& name : kAllParameters)
        expected.push_back("ax_parameter_add " + name + " 0 (null)");
    ASSERT_EQ(kAllParameters.size(), 70U);
    EXPECT_EQ(journal(), expected);
    EXPECT_EQ(controller.get_rotation(), 90);
    EXPECT_THAT(log, ElementsAre("info|find_rotation_parameter: The value of rotation is 90"));
    for (const auto& [name, value] : fake_axparameter::values())
        EXPECT_EQ(value, name == kRotation ? "90" : "0") << name;
}

TEST_F(ParameterControllerTest, ParametersThatExistKeepTheirValuesSilently) {
    fake_axparameter::put("MainLoopTime", "200");
    const texts log = log_of([this] { controller.init_controller("korvex_orvel"); });
    EXPECT_THAT(log, ElementsAre("info|find_rotation_parameter: The value of rotation is 0"));
    EXPECT_EQ(fake_axparameter::values().at("MainLoopTime"), "200");
    EXPECT_THAT(calls("ax_parameter_free"), IsEmpty());
}

TEST_F(ParameterControllerTest, AStoreThatCannotBeOpenedIsLoggedAndStartUpGoesOn) {
    fake_axparameter::recorder().fail("ax_parameter_new");
    const texts log = log_of([this] { controller.init_controller("korvex_orvel"); });
    EXPECT_EQ(controller.m_Parameter, nullptr);
    EXPECT_EQ(calls("ax_parameter_add").size(), 70U);
    texts expected = {"error|init_controller: Error Initializing Parameter of korvex_orvel",
                      "error|find_rotation_parameter: ERROR ax_parameter_get no handle",
                      "error|find_rotation_parameter: Unknown error trying to get rotation value"};
    for (const std::string& name : kAllParameters)
        expected.push_back("error|add_parameter: Failed to add parameter " + name + ". Error: no handle");
    EXPECT_EQ(log, expected);
}

TEST_F(ParameterControllerTest, AFailedRegistrationReleasesTheHandleAndKeepsItsName) {
    fake_axparameter::recorder().fail("ax_parameter_add WStream", {.message = "disk full", .code = 7});
    const texts log = log_of([this] { controller.init_controller("korvex_orvel"); });
    EXPECT_NE(controller.m_Parameter, nullptr);
    EXPECT_EQ(fake_axparameter::recorder().live("AXParameter"), 0);
    EXPECT_EQ(calls("ax_parameter_add").size(), 70U);
    ASSERT_EQ(log.size(), 1U + 69U);
    EXPECT_EQ(log[1], "error|add_parameter: Failed to add parameter WStream. Error: disk full");
    EXPECT_EQ(log[2],
              "error|add_parameter: Failed to add parameter MinNumberOfPeopleForTrigger. Error: released handle");
}

TEST_F(ParameterControllerTest, ARegistrationThatFailsWithoutARecordIsLogged) {
    open();
    fake_axparameter::recorder().fail("ax_parameter_add", {.with_record = false});
    EXPECT_THAT(log_of([this] { controller.add_parameter("Extra"); }),
                ElementsAre("error|add_parameter: Failed to add parameter Extra. Error: N/A"));
    EXPECT_EQ(journal(), (texts{"ax_parameter_add Extra 0 (null)", "ax_parameter_free"}));
}

TEST_F(ParameterControllerTest, AFailureWithCode13IsSilent) {
    open();
    fake_axparameter::recorder().fail("ax_parameter_add", {.code = 13});
    EXPECT_THAT(log_of([this] { controller.add_parameter("Extra"); }), IsEmpty());
    EXPECT_EQ(journal(), texts{"ax_parameter_add Extra 0 (null)"});
}

TEST_F(ParameterControllerTest, TheRotationIsReadAsATextNumber) {
    open();
    const struct {
        const char* text;
        int32_t degrees;
    } table[] = {{"0", 0},      {"90", 90},   {"180", 180}, {"270", 270}, {" 90", 90},
                 {"90deg", 90}, {"-90", -90}, {"", 0},      {"none", 0}};
    for (const auto& [text, degrees] : table) {
        fake_axparameter::put(kRotation, text);
        int32_t found = -1;
        EXPECT_THAT(log_of([&] { found = controller.find_rotation_parameter("unused"); }),
                    ElementsAre(std::string("info|find_rotation_parameter: The value of rotation is ") + text));
        EXPECT_EQ(found, degrees) << text;
    }
    EXPECT_EQ(controller.get_rotation(), 0) << "only init_controller keeps it";
}

TEST_F(ParameterControllerTest, ARotationThatCannotBeReadIsZero) {
    open();
    for (const bool with_record : {true, false}) {
        fake_axparameter::recorder().reset();
        fake_axparameter::recorder().fail("ax_parameter_get", {.message = "gone", .with_record = with_record});
        int32_t found = -1;
        EXPECT_THAT(log_of([&] { found = controller.find_rotation_parameter("unused"); }),
                    ElementsAre(std::string("error|find_rotation_parameter: ERROR ax_parameter_get ") +
                                    (with_record ? "gone" : "N/A"),
                                "error|find_rotation_parameter: Unknown error trying to get rotation value"));
        EXPECT_EQ(found, 0);
        EXPECT_THAT(calls("ax_parameter_free"), IsEmpty()) << "the rotation's failure does not release the handle";
    }
}

TEST_F(ParameterControllerTest, IntegersReadLikeStoiAndNeverThrow) {
    open();
    const struct {
        const char* text;
        int32_t value;
    } table[] = {{"0", 0},
                 {"200", 200},
                 {"-7", -7},
                 {" 42 ", 42},
                 {"12x", 12},
                 {"0x10", 0},
                 {"007", 7},
                 {"2147483647", 2147483647},
                 {"-2147483648", -2147483647 - 1},
                 {"2147483648", 0},
                 {"4294967295", 0},
                 {"99999999999999999999", 0},
                 {"", 0},
                 {"true", 0}};
    for (const auto& [text, value] : table) {
        fake_axparameter::put("HStream", text);
        EXPECT_EQ(controller.get_gint_parameter("HStream"), value) << text;
        EXPECT_EQ(static_cast<int32_t>(controller.get_larodchiptype_parameter("HStream")), value) << text;
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(ParameterControllerTest, FloatsReadLikeAtof) {
    open();
    const struct {
        const char* text;
        float value;
    } table[] = {{"0", 0.0F},      {"0.500000", 0.5F}, {"0.35", 0.35F}, {"1e-1", 0.1F},
                 {" .25x", 0.25F}, {"-1", -1.0F},      {"", 0.0F},      {"true", 0.0F}};
    for (const auto& [text, value] : table) {
        fake_axparameter::put("Sensitivity", text);
        EXPECT_EQ(controller.get_gfloat_parameter("Sensitivity"), value) << text;
    }
}

TEST_F(ParameterControllerTest, OnlyTheTextTrueIsTrue) {
    open();
    const struct {
        const char* text;
        bool value;
    } table[] = {{"true", true}, {"false", false}, {"True", false},  {"TRUE", false},  {"1", false},
                 {"0", false},   {"", false},      {" true", false}, {"true ", false}, {"yes", false}};
    for (const auto& [text, value] : table) {
        fake_axparameter::put("EulaAccepted", text);
        EXPECT_EQ(controller.get_boolean_parameter("EulaAccepted"), value) << "'" << text << "'";
    }
}

TEST_F(ParameterControllerTest, StringsReadAsTheyAre) {
    open();
    for (const std::string text : {"1280x720", "", " a b ", "0"}) {
        fake_axparameter::put("SelectedAnonOverlay", text);
        EXPECT_EQ(controller.get_string_parameter("SelectedAnonOverlay"), text);
    }
}

TEST_F(ParameterControllerTest, AFailedReadIsLoggedReleasesTheHandleAndReadsAsNothing) {
    const struct {
        const char* operation;
        std::function<void(parameter_controller&)> read;
    } table[] = {
        {"get_gint_parameter", [](auto& c) { EXPECT_EQ(c.get_gint_parameter("MainLoopTime"), 0); }},
        {"get_gfloat_parameter", [](auto& c) { EXPECT_EQ(c.get_gfloat_parameter("MainLoopTime"), 0.0F); }},
        {"get_boolean_parameter", [](auto& c) { EXPECT_FALSE(c.get_boolean_parameter("MainLoopTime")); }},
        {"get_string_parameter", [](auto& c) { EXPECT_EQ(c.get_string_parameter("MainLoopTime"), ""); }},
        {"get_larodchiptype_parameter",
         [](auto& c) { EXPECT_EQ(c.get_larodchiptype_parameter("MainLoopTime"), LAROD_CHIP_INVALID); }},
    };
    for (const auto& [operation, read] : table) {
        for (const bool with_record : {true, false}) {
            parameter_controller fresh;
            fresh.init_controller("korvex_orvel");
            fake_axparameter::recorder().reset();
            fake_axparameter::recorder().fail("ax_parameter_get MainLoopTime", {.with_record = with_record});
            AXParameter* const handle = fresh.m_Parameter;
            EXPECT_THAT(log_of([&fresh, &operate = read] { operate(fresh); }),
                        ElementsAre(std::string("error|") + operation + ": Failed to get MainLoopTime"));
            EXPECT_EQ(journal(), (texts{"ax_parameter_get MainLoopTime", "ax_parameter_free"}));
            EXPECT_EQ(fresh.m_Parameter, handle);
        }
    }
}

TEST_F(ParameterControllerTest, WritesTextsAndSyncsEachAtOnce) {
    open();
    controller.set_guint_parameter("HStream", 720);
    controller.set_guint_parameter("WStream", static_cast<unsigned int>(-1));
    controller.set_gfloat_parameter("Sensitivity", 0.5F);
    controller.set_boolean_parameter("Alert1Active", true);
    controller.set_boolean_parameter("Alert2Active", false);
    controller.set_string_parameter("SelectedAnonOverlay", "640x360");
    EXPECT_EQ(journal(),
              (texts{"ax_parameter_set HStream 720 1", "ax_parameter_set WStream 4294967295 1",
                     "ax_parameter_set Sensitivity 0.500000 1", "ax_parameter_set Alert1Active true 1",
                     "ax_parameter_set Alert2Active false 1", "ax_parameter_set SelectedAnonOverlay 640x360 1"}));
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(controller.get_gint_parameter("WStream"), 0) << "a negative number cannot be read back";
}

TEST_F(ParameterControllerTest, FloatsHaveSixDecimals) {
    open();
    const struct {
        float value;
        const char* text;
    } table[] = {{0.0F, "0.000000"},   {0.35F, "0.350000"},      {1.0F, "1.000000"},
                 {-2.5F, "-2.500000"}, {0.0000004F, "0.000000"}, {1234567.0F, "1234567.000000"}};
    for (const auto& [value, text] : table) {
        controller.set_gfloat_parameter("Sensitivity", value);
        EXPECT_EQ(fake_axparameter::values().at("Sensitivity"), text);
    }
}

TEST_F(ParameterControllerTest, AFailedWriteIsLoggedAndReleasesTheHandle) {
    const struct {
        const char* line;
        std::function<void(parameter_controller&)> write;
    } table[] = {
        {"set_guint_parameter: Failed to save HStream", [](auto& c) { c.set_guint_parameter("HStream", 1); }},
        {"set_gfloat_parameter: Failed to save HStream", [](auto& c) { c.set_gfloat_parameter("HStream", 1); }},
        {"set_boolean_parameter: Failed to save HStream", [](auto& c) { c.set_boolean_parameter("HStream", true); }},
        {"set_string_parameter: Failed to save HStream with value",
         [](auto& c) { c.set_string_parameter("HStream", "value"); }},
    };
    for (const auto& [line, write] : table) {
        for (const bool with_record : {true, false}) {
            parameter_controller fresh;
            fresh.init_controller("korvex_orvel");
            fake_axparameter::recorder().reset();
            fake_axparameter::recorder().fail("ax_parameter_set", {.with_record = with_record});
            EXPECT_THAT(log_of([&fresh, &operate = write] { operate(fresh); }),
                        ElementsAre(std::string("error|") + line));
            EXPECT_EQ(calls("ax_parameter_free").size(), 1U);
            EXPECT_NE(fresh.m_Parameter, nullptr);
        }
    }
}

TEST_F(ParameterControllerTest, AfterAFailureEveryOperationIsRefusedAndNoneCrashes) {
    open();
    fake_axparameter::recorder().fail("ax_parameter_get HStream", {.times = 1});
    controller.get_gint_parameter("HStream");
    const ConfigParams config = controller.load_config();
    EXPECT_EQ(config.i_ModelWidth, 960U);
    EXPECT_FALSE(config.b_EulaAccepted);
    EXPECT_EQ(controller.save_config(config), 1);
    EXPECT_GT(fake_axparameter::uses_of_released_handles(), 100);
    EXPECT_EQ(fake_axparameter::recorder().live("AXParameter"), 0);
}

TEST_F(ParameterControllerTest, OnAFirstStartEverythingReadsAsZero) {
    open();
    const ConfigParams config = controller.load_config();
    EXPECT_EQ(config.l_LarodChipType, 12);
    EXPECT_EQ(config.i_ModelWidth, 960U);
    EXPECT_EQ(config.i_ModelHeight, 540U);
    EXPECT_EQ(config.s_LandscapeModelFileName, "detect_960_540.tflite");
    EXPECT_EQ(config.s_PortraitModelFileName, "detect_540_960.tflite");
    EXPECT_EQ(config.i_MainLoopTime, 0);
    EXPECT_EQ(config.f_Sensitivity, 0.0F);
    EXPECT_FALSE(config.b_EulaAccepted);
    EXPECT_EQ(config.str_DetectionOverlay, "0");
    EXPECT_EQ(config.str_AnonOverlay, "0");
    EXPECT_EQ(config.i_WStream, 0);
    EXPECT_EQ(config.i_HStream, 0);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(ParameterControllerTest, LoadsInItsOrder) {
    open();
    controller.load_config();
    const texts expected =
        texts{"MainLoopTime",   "MinNumberOfPeopleForTrigger", "Sensitivity",         "DetectionOverlaysOn",
              "AnonOverlaysOn", "SelectedDetectionOverlay",    "SelectedAnonOverlay", "MaxDisappeared"} +
        kClasses + texts{"EulaAccepted"} + part_of_all("Alert1Active", "Alert3ThreshSeconds") +
        part_of_all("Exclusion10x", "Exclusion33y") +
        texts{"Exclusion1Active", "Exclusion3Active", "Exclusion3Active", "DetectionControlPoints"} +
        part_of_all("Detection10x", "Detection17y");
    EXPECT_EQ(journal(), prefixed("ax_parameter_get ", expected));
}

TEST_F(ParameterControllerTest, LoadsEveryFieldFromItsParameter) {
    open();
    fake_axparameter::put("MainLoopTime", "1");
    fake_axparameter::put("MinNumberOfPeopleForTrigger", "2");
    fake_axparameter::put("Sensitivity", "0.25");
    fake_axparameter::put("SelectedDetectionOverlay", "1x1");
    fake_axparameter::put("SelectedAnonOverlay", "2x2");
    fake_axparameter::put("MaxDisappeared", "3");
    fake_axparameter::put("DetectionControlPoints", "9");
    fake_axparameter::put("HStream", "77");
    fake_axparameter::put("WStream", "78");
    const texts numbers = part_of_all("Detection10x", "Detection17y") + part_of_all("Exclusion10x", "Exclusion33y") +
                          part_of_all("Alert1ThreshSeconds", "Alert3ThreshSeconds");
    for (size_t i = 0; i < numbers.size(); ++i)
        fake_axparameter::put(numbers[i], std::to_string(1000 + i));

    const ConfigParams config = controller.load_config();
    EXPECT_EQ(config.i_MainLoopTime, 1);
    EXPECT_EQ(config.i_MinNumberOfPeopleForTrigger, 2);
    EXPECT_EQ(config.f_Sensitivity, 0.25F);
    EXPECT_EQ(config.str_DetectionOverlay, "1x1");
    EXPECT_EQ(config.str_AnonOverlay, "2x2");
    EXPECT_EQ(config.i_MaxDisappeared, 3);
    EXPECT_EQ(config.i_DetectionControlPoints, 9);
    EXPECT_EQ(config.i_HStream, 0) << "the stream's size is not read from the store";
    EXPECT_EQ(config.i_WStream, 0);
    std::vector<int32_t> loaded(std::begin(config.i_Detection1), std::end(config.i_Detection1));
    for (const auto* zone : {&config.i_Exclusion1, &config.i_Exclusion2, &config.i_Exclusion3})
        loaded.insert(loaded.end(), std::begin(*zone), std::end(*zone));
    for (const int32_t seconds :
         {config.i_Alert1ThreshSeconds, config.i_Alert2ThreshSeconds, config.i_Alert3ThreshSeconds})
        loaded.push_back(seconds);
    std::vector<int32_t> expected(numbers.size());
    std::iota(expected.begin(), expected.end(), 1000);
    EXPECT_EQ(loaded, expected);
}

TEST_F(ParameterControllerTest, EachFlagHasItsParameter) {
    open();
    const struct {
        const char* name;
        bool ConfigParams::*field;
    } table[] = {{"DetectionOverlaysOn", &ConfigParams::b_DetectionOverlaysOn},
                 {"AnonOverlaysOn", &ConfigParams::b_AnonOverlaysOn},
                 {"DetectPersons", &ConfigParams::b_DetectPersons},
                 {"DetectCars", &ConfigParams::b_DetectCars},
                 {"DetectMotorcycles", &ConfigParams::b_DetectMotorcycles},
                 {"DetectBicycles", &ConfigParams::b_DetectBicycles},
                 {"DetectAirplanes", &ConfigParams::b_DetectAirplanes},
                 {"DetectBuses", &ConfigParams::b_DetectBuses},
                 {"DetectTrains", &ConfigParams::b_DetectTrains},
                 {"DetectTrucks", &ConfigParams::b_DetectTrucks},
                 {"DetectBoats", &ConfigParams::b_DetectBoats},
                 {"EulaAccepted", &ConfigParams::b_EulaAccepted},
                 {"Alert1Active", &ConfigParams::b_Alert1},
                 {"Alert2Active", &ConfigParams::b_Alert2},
                 {"Alert3Active", &ConfigParams::b_Alert3},
                 {"Exclusion1Active", &ConfigParams::b_Exclusion1Active}};
    for (const auto& chosen : table) {
        for (const auto& each : table)
            fake_axparameter::put(each.name, &each == &chosen ? "true" : "false");
        const ConfigParams loaded = controller.load_config();
        for (const auto& each : table)
            EXPECT_EQ(loaded.*each.field, &each == &chosen) << each.name << " with " << chosen.name;

        ConfigParams config;
        config.*chosen.field = true;
        controller.save_config(config);
        for (const auto& each : table)
            EXPECT_EQ(fake_axparameter::values().at(each.name), &each == &chosen ? "true" : "false") << each.name;
    }
}

TEST_F(ParameterControllerTest, Zone2IsLoadedFromZone3) {
    open();
    for (const bool zone2 : {false, true}) {
        for (const bool zone3 : {false, true}) {
            ConfigParams config;
            config.b_Exclusion2Active = zone2;
            config.b_Exclusion3Active = zone3;
            controller.save_config(config);
            EXPECT_EQ(fake_axparameter::values().at("Exclusion2Active"), zone2 ? "true" : "false");
            EXPECT_EQ(fake_axparameter::values().at("Exclusion3Active"), zone3 ? "true" : "false");
            const ConfigParams loaded = controller.load_config();
            EXPECT_EQ(loaded.b_Exclusion2Active, zone3);
            EXPECT_EQ(loaded.b_Exclusion3Active, zone3);
        }
    }
}

TEST_F(ParameterControllerTest, SavesInItsOrderAndNeverTheMainLoopTime) {
    open();
    ConfigParams config;
    config.i_HStream = 720;
    config.i_WStream = 1280;
    config.i_MainLoopTime = 99;
    config.i_MinNumberOfPeopleForTrigger = -1;
    config.f_Sensitivity = 0.5F;
    config.b_DetectionOverlaysOn = true;
    config.str_DetectionOverlay = "1280x720";
    config.str_AnonOverlay = "640x360";
    config.i_MaxDisappeared = 15;
    EXPECT_EQ(controller.save_config(config), 1);

    const std::set<std::string> flags = [] {
        const texts all = kClasses + texts{"EulaAccepted"} + part_of_all("Alert1Active", "Alert3Active") +
                          part_of_all("Exclusion1Active", "Exclusion3Active");
        return std::set<std::string>(all.begin(), all.end());
    }();
    texts expected = {"HStream 720",
                      "WStream 1280",
                      "MinNumberOfPeopleForTrigger 4294967295",
                      "Sensitivity 0.500000",
                      "DetectionOverlaysOn true",
                      "AnonOverlaysOn false",
                      "SelectedDetectionOverlay 1280x720",
                      "SelectedAnonOverlay 640x360",
                      "MaxDisappeared 15",
                      "DetectionOverlaysOn true"};
    for (const std::string& name : kClasses + texts{"EulaAccepted"} +
                                       part_of_all("Alert1Active", "Alert3ThreshSeconds") +
                                       part_of_all("Exclusion10x", "Exclusion3Active") +
                                       texts{"DetectionControlPoints"} + part_of_all("Detection10x", "Detection17y"))
        expected.push_back(name + (flags.contains(name) ? " false" : " 0"));
    for (std::string& line : expected)
        line.insert(0, "ax_parameter_set ").append(" 1");
    EXPECT_EQ(journal(), expected);
}

TEST_F(ParameterControllerTest, WhatIsSavedIsLoadedBack) {
    open();
    ConfigParams config;
    std::iota(std::begin(config.i_Detection1), std::end(config.i_Detection1), 1);
    std::iota(std::begin(config.i_Exclusion1), std::end(config.i_Exclusion1), 100);
    std::iota(std::begin(config.i_Exclusion2), std::end(config.i_Exclusion2), 200);
    std::iota(std::begin(config.i_Exclusion3), std::end(config.i_Exclusion3), 300);
    config.i_DetectionControlPoints = 8;
    controller.save_config(config);
    const ConfigParams loaded = controller.load_config();
    EXPECT_TRUE(std::ranges::equal(loaded.i_Detection1, config.i_Detection1));
    EXPECT_TRUE(std::ranges::equal(loaded.i_Exclusion1, config.i_Exclusion1));
    EXPECT_TRUE(std::ranges::equal(loaded.i_Exclusion2, config.i_Exclusion2));
    EXPECT_TRUE(std::ranges::equal(loaded.i_Exclusion3, config.i_Exclusion3));
}

TEST_F(ParameterControllerTest, AFailureInTheMiddleStopsNeitherLoadingNorSaving) {
    open();
    fake_axparameter::recorder().fail("ax_parameter_get EulaAccepted");
    controller.load_config();
    EXPECT_EQ(calls("ax_parameter_get").back(), "ax_parameter_get Detection17y");
    open();
    fake_axparameter::recorder().fail("ax_parameter_set HStream");
    EXPECT_EQ(controller.save_config({}), 1);
    EXPECT_EQ(calls("ax_parameter_set").back(), "ax_parameter_set Detection17y 0 1");
}

TEST_F(ParameterControllerTest, ListsEveryNameOfTheGroup) {
    open();
    const texts log = log_of([this] { controller.list_params(); });
    ASSERT_EQ(log.size(), 70U);
    for (const std::string& name : kAllParameters)
        EXPECT_NE(
            std::find_if(log.begin(), log.end(), [&name](const std::string& line) { return line.ends_with(name); }),
            log.end())
            << name;
    fake_axparameter::recorder().fail("ax_parameter_list", {.message = "gone"});
    EXPECT_THAT(log_of([this] { controller.list_params(); }), ElementsAre(testing::HasSubstr("gone")));
}

TEST_F(ParameterControllerTest, LogsAChange) {
    EXPECT_THAT(log_of([] { parameter_controller::status_callback_log("HStream", "7", nullptr); }),
                ElementsAre(testing::AllOf(testing::HasSubstr("HStream"), testing::HasSubstr("7"))));
    EXPECT_EQ(log_of([] { parameter_controller::status_callback_log(nullptr, nullptr, nullptr); }).size(), 1U);
}

} // namespace
