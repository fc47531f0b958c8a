#include "config/settings.h"
#include "host/settings_file.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using console::parameters_in;
using testing::Contains;

constexpr console::SettingsTarget hd{1280, 720, 200};

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), with);
}

/** As the pages' Export writes it. */
std::string exported() {
    std::string flags;
    for (const char* flag :
         {"DetectPersons", "DetectCars", "DetectMotorcycles", "DetectBicycles", "DetectAirplanes", "DetectBuses",
          "DetectTrains", "DetectTrucks", "DetectBoats", "Alert1_Active", "Alert2_Active", "Alert3_Active",
          "DetectionOverlaysOn", "AnonOverlaysOn", "Exclusion1_Active", "Exclusion2_Active", "Exclusion3_Active"})
        flags += std::string(flags.empty() ? "" : ", ") + '"' + flag + "\": " + (flag[6] == 'C' ? "true" : "false");
    const std::string zone = R"([{"x": 1, "y": 2}, {"x": 3, "y": 4}, {"x": 5, "y": 6}, {"x": 7, "y": 8}])";
    return R"({"kind": "korvex-orvel-settings", "version": "1.0.0", "texts": {"MinNumberOfPeopleForTrigger": "2",)"
           R"("Sensitivity": "0.40", "MaxDisappear": "3", "Alert1ThreshSeconds": "5", "Alert2ThreshSeconds": "10",)"
           R"("Alert3ThreshSeconds": "20", "SelectedDetectionOverlay": "1280x720", "SelectedAnonOverlay": "640x360"},)"
           R"("corners": 6, "area": [{"x": 33, "y": 50}, {"x": 0, "y": 0}, {"x": 100, "y": 100}, {"x": 1, "y": 1},)"
           R"({"x": 2, "y": 2}, {"x": 3, "y": 3}, {"x": 4, "y": 4}, {"x": 5, "y": 5}], "zones": [)" +
           zone + ", " + zone + ", " + zone + R"(], "flags": {)" + flags + "}}";
}

TEST(SettingsFile, BecomesWhatThePagesWouldPost) {
    const std::vector<std::string> all = parameters_in(exported(), hd);
    for (const char* parameter :
         {"MinNumberOfPeopleForTrigger=2", "Sensitivity=0.40", "MaxDisappeared=15", "Alert3ThreshSeconds=20",
          "DetectionControlPoints=6", "Detection10x=422", "Detection10y=360", "Detection12x=1280", "Detection12y=720",
          "DetectCars=true", "DetectPersons=false", "Exclusion30x=12", "Exclusion30y=14", "Exclusion1Active=false",
          "SelectedAnonOverlay=640x360"})
        EXPECT_THAT(all, Contains(parameter));
    EXPECT_THAT(all, Not(Contains(testing::StartsWith("EulaAccepted"))));
    EXPECT_THAT(all, Not(Contains(testing::StartsWith("MainLoopTime"))));
}

TEST(SettingsFile, NamesEverySettingThatAPageHasOnce) {
    std::size_t expected = 0;
    for (const setting& each : kSettings)
        if (each.element != nullptr && &each != &setting_of(row::eula))
            expected += stored_names(each).size();
    const std::vector<std::string> all = parameters_in(exported(), hd);
    std::set<std::string> names;
    for (const std::string& parameter : all)
        names.insert(parameter.substr(0, parameter.find('=')));
    EXPECT_EQ(all.size(), expected);
    EXPECT_EQ(names.size(), expected);
}

TEST(SettingsFile, IsRefusedInASentence) {
    const std::string whole = exported();
    const std::vector<std::pair<std::string, std::string>> table = {
        {"", "it is no settings file that the pages have exported"},
        {"{", "it is not JSON"},
        {"[]", "it is no settings file that the pages have exported"},
        {R"({"kind": "other"})", "it is no settings file that the pages have exported"},
        {replaced(whole, "\"corners\": 6", "\"corners\": \"six\""), "its number of corners is missing"},
        {replaced(whole, "{\"x\": 33, \"y\": 50}, ", ""), "its Detection1 has not 8 points"},
        {replaced(whole, "\"x\": 33", "\"x\": 33.5"), "its Detection1 has a point that is no pair of whole per cents"},
        {replaced(whole, "\"zones\"", "\"zone\""), "its exclusion zones are not three"},
        {replaced(whole, "\"Sensitivity\": \"0.40\",", ""), "its Sensitivity is missing"},
        {replaced(whole, "\"0.40\"", "0.4"), "its Sensitivity is no text"},
        {replaced(whole, "\"MaxDisappear\": \"3\"", "\"MaxDisappear\": \"3s\""),
         "its MaxDisappear is no number of seconds"},
        {replaced(whole, "\"DetectCars\": true", "\"DetectCars\": 1"), "its DetectCars is neither true nor false"},
    };
    for (const auto& [text, sentence] : table) {
        try {
            parameters_in(text, hd);
            ADD_FAILURE() << sentence;
        } catch (const std::runtime_error& problem) {
            EXPECT_EQ(problem.what(), sentence);
        }
    }
}

} // namespace
