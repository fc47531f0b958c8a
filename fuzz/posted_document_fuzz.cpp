// Properties of a posted document: refused, it changes nothing; thrown out, it saves nothing; stored, all of it is
// saved, and what is then given out can be stored again and says the same.

#include "app/app_main.h"
#include "config/parameter_io.h"
#include "fuzz/fuzz.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_vdo.h"

#include <exception>

namespace {

constexpr size_t kSaved = 70; // writes to the store

void begin() {
    static bool initialised = false;
    if (!initialised) {
        recording_vdo::reset();
        g_ParameterController.init_controller("korvex_orvel");
    }
    initialised = true;
    silence_log();
    fake_axparameter::recorder().reset();
    recording_vdo::recorder().reset();
    g_StreamWidth = 1920;
    g_StreamHeight = 1080;
    g_ConfigParams = {};
    g_ConfigParams.i_MainLoopTime = 100;
    g_ConfigParams.str_DetectionOverlay = "1x2";
    g_ConfigParams.str_AnonOverlay = "3x4";
    g_Tracker.set_max_disappeared(5);
    g_LocationController.set_sensitivity(0.5F);
    g_AreaofInterest = {};
}

size_t saved() {
    return fake_axparameter::recorder().calls("ax_parameter_set").size();
}

enum class outcome { stored, refused, thrown };

outcome post(const std::string& body) {
    try {
        return parameter_io::set_post_parameters(body) == 0 ? outcome::stored : outcome::refused;
    } catch (const std::exception&) {
        return outcome::thrown;
    }
}

/** A text that a document can carry as it is. */
bool is_plain(const std::string& text) {
    return !text.empty() && text.find_first_of("<>&\r") == std::string::npos;
}

bool same_but_for_truncation(const std::string& name, const std::string& first, const std::string& second) {
    const bool coordinate =
        (name.starts_with("Detection1_") || name.starts_with("Exclusion")) && !name.ends_with("Active");
    if (!coordinate)
        return first == second;
    const int before = std::stoi(first);
    const int after = std::stoi(second);
    if (std::abs(before) > 10000)
        return true; // its product with the stream's size may wrap
    return after == before || after == before + (before > 0 ? -1 : 1);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    begin();
    const std::string before = parameter_io::get_parameters();
    const outcome first = post(text_of(data, size));
    if (first != outcome::stored) {
        require(saved() == 0, "only a stored document is saved");
        if (first == outcome::thrown)
            return 0;
        require(parameter_io::get_parameters() == before, "a refused document changes no setting");
        require(g_Tracker.m_MaxDisappeared == 5 && g_LocationController.m_Threshold == 0.5F, "and no component");
        require(g_AreaofInterest.m_Detection1.empty() && g_AreaofInterest.m_Exclusion1.empty(), "and no polygon");
        require(g_ConfigParams.i_WStream == 1920 && g_ConfigParams.i_HStream == 1080, "but the stream's size");
        return 0;
    }
    require(saved() == kSaved, "a stored document is saved whole");
    if (!is_plain(g_ConfigParams.str_DetectionOverlay) || !is_plain(g_ConfigParams.str_AnonOverlay))
        return 0;
    const std::string given = parameter_io::get_parameters();
    const auto values = parameter_io::parseXMLData(given);
    require(values.size() == 68, "what is given out has 68 elements");
    require(post(given) == outcome::stored, "and can be stored");
    const auto again = parameter_io::parseXMLData(parameter_io::get_parameters());
    require(again.size() == 68, "and given out again");
    for (const auto& [name, value] : values)
        require(same_but_for_truncation(name, value, again.at(name)), name.c_str());
    return 0;
}
