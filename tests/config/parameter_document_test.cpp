#include "app/app_main.h"
#include "config/parameter_io.h"
#include "output/overlay_info.h"
#include "tests/config/posted_document.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

using texts = std::vector<std::string>;

class parameter_document_test : public core_fixture {
  protected:
    parameter_document_test() {
        g_StreamWidth = 1920;
        g_StreamHeight = 1080;
        recording_vdo::offer({{{1920, 1080}, {640, 480}}});
        g_ParameterController.init_controller("korvex_orvel");
        reset_settings();
    }
    ~parameter_document_test() override {
        ax_parameter_free(g_ParameterController.m_Parameter);
        g_ParameterController = {};
        g_ConfigParams = {};
    }

    /** Settings and components as they are told apart from what a document brings. */
    static void reset_settings() {
        g_ConfigParams = {};
        g_ConfigParams.i_MainLoopTime = 100;
        g_Tracker.set_max_disappeared(-5);
        g_LocationController.set_sensitivity(0.25F);
        g_AreaofInterest = {};
        SetOverlayStreamResolution(1, 2);
        SetAnonymizedStreamResolution(3, 4);
        fake_axparameter::recorder().reset();
        forget_log();
    }

    static texts saved() { return fake_axparameter::recorder().calls("ax_parameter_set"); }

    static int post(const posted_document& document) { return parameter_io::set_post_parameters(document.text()); }

    /** What an element says in the document that is given out. */
    static std::string given(const std::string& name) {
        const std::string document = parameter_io::get_parameters();
        const std::string opening = "<" + name + ">";
        const size_t begin = document.find(opening) + opening.size();
        return document.substr(begin, document.find("</" + name + ">") - begin);
    }
};

TEST_F(parameter_document_test, gives_68_elements_in_their_order) {
    ConfigParams& config = g_ConfigParams;
    config.i_MinNumberOfPeopleForTrigger = 2;
    config.f_Sensitivity = 0.5F;
    config.i_MaxDisappeared = 35;
    config.b_DetectCars = config.b_DetectBoats = config.b_Alert2 = config.b_EulaAccepted = true;
    config.b_AnonOverlaysOn = config.b_Exclusion2Active = true;
    config.i_Alert1ThreshSeconds = 5;
    config.i_Alert2ThreshSeconds = 10;
    config.i_Alert3ThreshSeconds = 15;
    config.str_DetectionOverlay = "1280x720";
    config.str_AnonOverlay = "0x0";
    config.i_DetectionControlPoints = 6;
    for (int i = 0; i < 16; ++i)
        config.i_Detection1[i] = 192 * i; // 10 % of the width, 17.7 % of the height
    for (int i = 0; i < 8; ++i) {
        config.i_Exclusion1[i] = 108 * i; // 5.6 % of the width, 10 % of the height
        config.i_Exclusion2[i] = i;
        config.i_Exclusion3[i] = -20 * i;
    }
    EXPECT_EQ(parameter_io::get_parameters(), "<app>"
                                              "<MinNumberOfPeopleForTrigger>2</MinNumberOfPeopleForTrigger>"
                                              "<Sensitivity>0.50</Sensitivity>"
                                              "<MaxDisappear>3</MaxDisappear>"
                                              "<DetectPersons>0</DetectPersons>"
                                              "<DetectCars>1</DetectCars>"
                                              "<DetectMotorcycles>0</DetectMotorcycles>"
                                              "<DetectBicycles>0</DetectBicycles>"
                                              "<DetectAirplanes>0</DetectAirplanes>"
                                              "<DetectBuses>0</DetectBuses>"
                                              "<DetectTrains>0</DetectTrains>"
                                              "<DetectTrucks>0</DetectTrucks>"
                                              "<DetectBoats>1</DetectBoats>"
                                              "<Alert1_Active>0</Alert1_Active>"
                                              "<Alert2_Active>1</Alert2_Active>"
                                              "<Alert3_Active>0</Alert3_Active>"
                                              "<Alert1ThreshSeconds>5</Alert1ThreshSeconds>"
                                              "<Alert2ThreshSeconds>10</Alert2ThreshSeconds>"
                                              "<Alert3ThreshSeconds>15</Alert3ThreshSeconds>"
                                              "<Eula>1</Eula>"
                                              "<DetectionOverlaysOn>0</DetectionOverlaysOn>"
                                              "<AnonOverlaysOn>1</AnonOverlaysOn>"
                                              "<SelectedDetectionOverlay>1280x720</SelectedDetectionOverlay>"
                                              "<SelectedAnonOverlay>0x0</SelectedAnonOverlay>"
                                              "<CamsResAsCsv>640x480,1920x1080,</CamsResAsCsv>"
                                              "<DetectionControlPoints>6</DetectionControlPoints>"
                                              "<Detection1_0>0</Detection1_0><Detection1_1>17</Detection1_1>"
                                              "<Detection1_2>20</Detection1_2><Detection1_3>53</Detection1_3>"
                                              "<Detection1_4>40</Detection1_4><Detection1_5>88</Detection1_5>"
                                              "<Detection1_6>60</Detection1_6><Detection1_7>124</Detection1_7>"
                                              "<Detection1_8>80</Detection1_8><Detection1_9>160</Detection1_9>"
                                              "<Detection1_10>100</Detection1_10><Detection1_11>195</Detection1_11>"
                                              "<Detection1_12>120</Detection1_12><Detection1_13>231</Detection1_13>"
                                              "<Detection1_14>140</Detection1_14><Detection1_15>266</Detection1_15>"
                                              "<Exclusion1_0>0</Exclusion1_0><Exclusion1_1>10</Exclusion1_1>"
                                              "<Exclusion1_2>11</Exclusion1_2><Exclusion1_3>30</Exclusion1_3>"
                                              "<Exclusion1_4>22</Exclusion1_4><Exclusion1_5>50</Exclusion1_5>"
                                              "<Exclusion1_6>33</Exclusion1_6><Exclusion1_7>70</Exclusion1_7>"
                                              "<Exclusion1_Active>0</Exclusion1_Active>"
                                              "<Exclusion2_0>0</Exclusion2_0><Exclusion2_1>0</Exclusion2_1>"
                                              "<Exclusion2_2>0</Exclusion2_2><Exclusion2_3>0</Exclusion2_3>"
                                              "<Exclusion2_4>0</Exclusion2_4><Exclusion2_5>0</Exclusion2_5>"
                                              "<Exclusion2_6>0</Exclusion2_6><Exclusion2_7>0</Exclusion2_7>"
                                              "<Exclusion2_Active>1</Exclusion2_Active>"
                                              "<Exclusion3_0>0</Exclusion3_0><Exclusion3_1>-1</Exclusion3_1>"
                                              "<Exclusion3_2>-2</Exclusion3_2><Exclusion3_3>-5</Exclusion3_3>"
                                              "<Exclusion3_4>-4</Exclusion3_4><Exclusion3_5>-9</Exclusion3_5>"
                                              "<Exclusion3_6>-6</Exclusion3_6><Exclusion3_7>-12</Exclusion3_7>"
                                              "<Exclusion3_Active>0</Exclusion3_Active>"
                                              "</app>");
}

TEST_F(parameter_document_test, gives_the_sensitivity_in_four_characters) {
    const struct {
        float value;
        const char* text;
    } table[] = {{0.45F, "0.45"},
                 {1.0F, "1.00"},
                 {12.5F, "12.5"},
                 {123.456F, "123."},
                 {12345.0F, "1234"},
                 {-0.5F, "-0.5"},
                 {0.0F, "0.00"},
                 {0.999999F, "0.99"},
                 {1e-9F, "0.00"},
                 {-1e-9F, "-0.0"},
                 {std::numeric_limits<float>::infinity(), "inf"}};
    for (const auto& [value, text] : table) {
        g_ConfigParams.f_Sensitivity = value;
        EXPECT_EQ(given("Sensitivity"), text);
    }
}

TEST_F(parameter_document_test, gives_and_takes_patience_in_seconds) {
    const struct {
        int period;
        const char* posted;
        int passes;
        const char* given;
    } table[] = {{100, "3", 30, "3"},
                 {100, "-3", -30, "-3"},
                 {300, "2", 6, "2"},
                 {1000, "7", 7, "7"},
                 {1001, "7", 0, "0"},
                 {0, "7", 0, "0"},
                 {-100, "3", -30, "3"},
                 {1, "2147483647", -1000, "-1"},
                 {-1000, "-2147483648", INT_MIN, "-2147483648"}};
    for (const auto& [period, posted, passes, text] : table) {
        reset_settings();
        g_ConfigParams.i_MainLoopTime = period;
        EXPECT_EQ(post(posted_document().set("MaxDisappear", posted)), 0);
        EXPECT_EQ(g_ConfigParams.i_MaxDisappeared, passes) << period;
        EXPECT_EQ(g_Tracker.m_MaxDisappeared, passes) << period;
        EXPECT_EQ(given("MaxDisappear"), text) << period;
    }
    g_ConfigParams.i_MainLoopTime = 100;
    g_ConfigParams.i_MaxDisappeared = 35;
    EXPECT_EQ(given("MaxDisappear"), "3");
    g_ConfigParams.i_MaxDisappeared = -35;
    EXPECT_EQ(given("MaxDisappear"), "-3");
}

TEST_F(parameter_document_test, gives_percentages_cut_toward_zero) {
    const struct {
        int width;
        int pixels;
        const char* percent;
    } table[] = {{1920, 960, "50"},   {1920, 633, "32"},           {1920, -633, "-32"},
                 {1920, -19, "0"},    {1920, 21474836, "1118481"}, {1920, 21474837, "-1118481"}, // the product wraps
                 {0, 960, "0"},       {-1, INT_MIN, "0"},          {-1, 7, "-700"},
                 {1, INT_MAX, "-100"}};
    for (const auto& [width, pixels, percent] : table) {
        g_StreamWidth = width;
        g_ConfigParams.i_Detection1[14] = pixels;
        g_ConfigParams.i_Exclusion2[6] = pixels;
        EXPECT_EQ(given("Detection1_14"), percent) << pixels;
        EXPECT_EQ(given("Exclusion2_6"), percent) << pixels;
    }
    g_StreamHeight = 0;
    g_ConfigParams.i_Exclusion3[7] = 960;
    EXPECT_EQ(given("Exclusion3_7"), "0");
}

TEST_F(parameter_document_test, takes_percentages_cut_toward_zero) {
    const struct {
        const char* percent;
        int x;
        int y;
    } table[] = {{"33", 633, 356},        {"50", 960, 540},    {"-33", -633, -356},
                 {"-250", -4800, -2700},  {"100", 1920, 1080}, {"1118482", -21474818, 12079605},
                 {"2147483647", -19, -10}};
    for (const auto& [percent, x, y] : table) {
        reset_settings();
        EXPECT_EQ(post(posted_document().set("Detection1_6", percent).set("Detection1_7", percent)), 0);
        EXPECT_EQ(g_ConfigParams.i_Detection1[6], x) << percent;
        EXPECT_EQ(g_ConfigParams.i_Detection1[7], y) << percent;
    }
}

TEST_F(parameter_document_test, takes_every_field_and_hands_it_on) {
    EXPECT_THAT(log_of([] { EXPECT_EQ(post({}), 0); }), IsEmpty());
    const ConfigParams& config = g_ConfigParams;
    EXPECT_EQ(config.i_WStream, 1920);
    EXPECT_EQ(config.i_HStream, 1080);
    EXPECT_EQ(config.i_MinNumberOfPeopleForTrigger, 3);
    EXPECT_EQ(config.f_Sensitivity, 0.45F);
    EXPECT_EQ(config.i_MaxDisappeared, 40);
    EXPECT_THAT((std::array{config.b_DetectPersons, config.b_DetectCars, config.b_DetectMotorcycles,
                            config.b_DetectBicycles, config.b_DetectAirplanes, config.b_DetectBuses,
                            config.b_DetectTrains, config.b_DetectTrucks, config.b_DetectBoats}),
                ElementsAre(true, false, true, false, true, false, true, false, true));
    EXPECT_THAT((std::array{config.b_Alert1, config.b_Alert2, config.b_Alert3}), ElementsAre(true, false, true));
    EXPECT_THAT((std::array{config.i_Alert1ThreshSeconds, config.i_Alert2ThreshSeconds, config.i_Alert3ThreshSeconds}),
                ElementsAre(11, 22, 33));
    EXPECT_TRUE(config.b_EulaAccepted && config.b_DetectionOverlaysOn && config.b_AnonOverlaysOn);
    EXPECT_EQ(config.str_DetectionOverlay, "1280x720");
    EXPECT_EQ(config.str_AnonOverlay, "640x480");
    EXPECT_EQ(config.i_DetectionControlPoints, 8);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(config.i_Detection1[i], (5 + i) * (i % 2 == 0 ? 1920 : 1080) / 100) << i;
    const int32_t* const zones[] = {config.i_Exclusion1, config.i_Exclusion2, config.i_Exclusion3};
    for (int zone = 0; zone < 3; ++zone)
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(zones[zone][i], (20 * (zone + 1) + i) * (i % 2 == 0 ? 1920 : 1080) / 100) << zone << ", " << i;
    EXPECT_THAT((std::array{config.b_Exclusion1Active, config.b_Exclusion2Active, config.b_Exclusion3Active}),
                ElementsAre(true, false, true));

    EXPECT_EQ(g_LocationController.m_Threshold, 0.45F);
    EXPECT_EQ(g_Tracker.m_MaxDisappeared, 40);
    EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 1280U);
    EXPECT_EQ(g_OverlayInfo.overlayStreamHeight, 720U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 640U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamHeight, 480U);
    EXPECT_EQ(g_AreaofInterest.get_detection(1).size(), 8U);
    EXPECT_THAT(g_AreaofInterest.get_exclusion(2),
                ElementsAre(Pair(768, 442), Pair(806, 464), Pair(844, 486), Pair(883, 507)));
    EXPECT_FALSE(g_AreaofInterest.get_exclusion_active(2));
    EXPECT_TRUE(g_AreaofInterest.get_exclusion_active(3));
}

TEST_F(parameter_document_test, hands_the_area_four_six_or_eight_points) {
    for (const auto& [in_use, points] :
         std::map<std::string, size_t>{{"-1", 4}, {"4", 4}, {"5", 6}, {"6", 6}, {"7", 6}, {"8", 8}, {"9", 6}}) {
        EXPECT_EQ(post(posted_document().set("DetectionControlPoints", in_use)), 0);
        EXPECT_EQ(g_AreaofInterest.get_detection(1).size(), points) << in_use;
        EXPECT_EQ(given("DetectionControlPoints"), in_use);
    }
}

TEST_F(parameter_document_test, switches_off_an_overlay_stream_whatever_its_size) {
    EXPECT_EQ(post(posted_document()
                       .set("DetectionOverlaysOn", "0")
                       .set("AnonOverlaysOn", "0")
                       .set("SelectedDetectionOverlay", "no size")),
              0);
    EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 0U);
    EXPECT_EQ(g_OverlayInfo.overlayStreamHeight, 0U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 0U);
    EXPECT_EQ(g_ConfigParams.str_DetectionOverlay, "no size");
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "640x480");
}

TEST_F(parameter_document_test, takes_only_1_for_true) {
    for (const char* text : {"0", "true", "01", "1 ", " 1", "+1", "2"}) {
        g_ConfigParams.b_DetectPersons = true;
        EXPECT_EQ(post(posted_document().set("DetectPersons", text)), 0);
        EXPECT_FALSE(g_ConfigParams.b_DetectPersons) << text;
    }
    for (const char* name : {"DetectBoats", "Alert1_Active", "Eula", "Exclusion3_Active"})
        EXPECT_EQ(post(posted_document().remove(name)), 0) << name;
    EXPECT_FALSE(g_ConfigParams.b_Exclusion3Active);
}

TEST_F(parameter_document_test, takes_the_number_forms_of_the_library) {
    for (const auto& [text, number] : std::map<std::string, int>{{" 7", 7},
                                                                 {"+7", 7},
                                                                 {"-7", -7},
                                                                 {"007", 7},
                                                                 {"7.9", 7},
                                                                 {"7 people", 7},
                                                                 {"0x10", 0},
                                                                 {"2147483647", INT_MAX},
                                                                 {"-2147483648", INT_MIN}}) {
        EXPECT_EQ(post(posted_document().set("Alert1ThreshSeconds", text)), 0) << text;
        EXPECT_EQ(g_ConfigParams.i_Alert1ThreshSeconds, number) << text;
    }
    for (const auto& [text, number] :
         std::map<std::string, float>{{"1e-2", 0.01F}, {".5", 0.5F}, {"-2", -2.0F}, {"0x1p-1", 0.5F}, {"1,5", 1.0F}}) {
        EXPECT_EQ(post(posted_document().set("Sensitivity", text)), 0) << text;
        EXPECT_EQ(g_ConfigParams.f_Sensitivity, number) << text;
        EXPECT_EQ(g_LocationController.m_Threshold, number) << text;
    }
}

/** One step of storing: what it changes, told by the state before and after. */
struct step {
    const char* element; // the step's number, or null for a step without one
    std::function<bool()> done;
};

/** All steps in their order. Texts and switches between two numbers are steps, too. */
std::vector<step> steps() {
    const auto& c = g_ConfigParams;
    const std::pair<int, int> first_pixel = {5 * 1920 / 100, 6 * 1080 / 100};
    std::vector<step> all = {
        {"MinNumberOfPeopleForTrigger", [&c] { return c.i_MinNumberOfPeopleForTrigger == 3; }},
        {"Sensitivity", [&c] { return c.f_Sensitivity == 0.45F; }},
        {nullptr, [&c] { return c.b_DetectionOverlaysOn; }},
        {"MaxDisappear", [&c] { return c.i_MaxDisappeared == 4 || c.i_MaxDisappeared == 40; }},
        {nullptr, [&c] { return c.str_DetectionOverlay == "1280x720"; }},
        {nullptr, [&c] { return c.b_AnonOverlaysOn; }},
        {nullptr, [&c] { return c.str_AnonOverlay == "640x480"; }},
        {nullptr, [&c] { return c.b_EulaAccepted; }},
        {nullptr, [&c] { return c.b_DetectPersons; }},
        {nullptr, [&c] { return c.b_DetectBoats; }},
        {nullptr, [&c] { return c.b_Alert1; }},
        {nullptr, [&c] { return c.b_Alert3; }},
        {"Alert1ThreshSeconds", [&c] { return c.i_Alert1ThreshSeconds == 11; }},
        {"Alert2ThreshSeconds", [&c] { return c.i_Alert2ThreshSeconds == 22; }},
        {"Alert3ThreshSeconds", [&c] { return c.i_Alert3ThreshSeconds == 33; }},
        {nullptr, [] { return g_OverlayInfo.overlayStreamWidth == 1280; }},
        {nullptr, [] { return g_OverlayInfo.anonymizedStreamWidth == 640; }},
        {nullptr, [&c] { return c.i_MaxDisappeared == 40; }},
        {nullptr, [] { return g_LocationController.m_Threshold == 0.45F; }},
        {nullptr, [] { return g_Tracker.m_MaxDisappeared == 40; }},
        {"DetectionControlPoints", [&c] { return c.i_DetectionControlPoints == 8; }},
    };
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 16; ++i)
            made.push_back("Detection1_" + std::to_string(i));
        for (int i = 0; i < 24; ++i)
            made.push_back("Exclusion" + std::to_string(1 + i / 8) + "_" + std::to_string(i % 8));
        return made;
    }();
    for (size_t i = 0; i < 16; ++i)
        all.push_back({names[i].c_str(), [&c, i] { return c.i_Detection1[i] != 0; }});
    all.push_back({nullptr, [=] {
                       const t_Polygon area = g_AreaofInterest.get_detection(1);
                       return area.size() == 8 && area[0] == first_pixel;
                   }});
    for (size_t i = 0; i < 24; ++i) {
        const auto zone =
            i < 8 ? &ConfigParams::i_Exclusion1 : (i < 16 ? &ConfigParams::i_Exclusion2 : &ConfigParams::i_Exclusion3);
        all.push_back({names[16 + i].c_str(), [&c, zone, i] { return (c.*zone)[i % 8] != 0; }});
        if (i == 7)
            all.push_back({nullptr, [&c] { return c.b_Exclusion1Active; }});
        if (i == 23)
            all.push_back({nullptr, [&c] { return c.b_Exclusion3Active; }});
    }
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion(1).size() == 4; }});
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion_active(3); }});
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion(3).size() == 4; }});
    return all;
}

TEST_F(parameter_document_test, stops_at_the_first_number_that_is_none) {
    const std::vector<step> all = steps();
    const std::function<posted_document(const char*)> damages[] = {
        [](const char* element) { return posted_document().remove(element); },
        [](const char* element) { return posted_document().set(element, "x"); },
        [](const char* element) { return posted_document().set(element, " "); },
        [](const char* element) { return posted_document().set(element, "<![CDATA[]]>"); },
        [](const char* element) { return posted_document().set(element, "99999999999999999999e99"); },
    };
    int positions = 0;
    for (size_t failing = 0; failing < all.size(); ++failing) {
        if (all[failing].element == nullptr)
            continue;
        ++positions;
        for (const auto& damage : damages) {
            reset_settings();
            EXPECT_THAT(log_of([&] { EXPECT_THROW(post(damage(all[failing].element)), std::logic_error); }), IsEmpty())
                << all[failing].element;
            for (size_t i = 0; i < all.size(); ++i)
                EXPECT_EQ(all[i].done(), i < failing) << "step " << i << ", failing at " << all[failing].element;
            EXPECT_THAT(saved(), IsEmpty()) << all[failing].element;
            EXPECT_EQ(g_ConfigParams.i_WStream, 1920) << "the stream's size comes first";
        }
    }
    EXPECT_EQ(positions, 47) << "every numeric element";
    reset_settings();
    EXPECT_EQ(post({}), 0);
    for (const step& every : all)
        EXPECT_TRUE(every.done());
}

TEST_F(parameter_document_test, stops_at_the_size_of_a_stream_that_is_none) {
    EXPECT_THROW(post(posted_document().set("SelectedAnonOverlay", "wide")), std::invalid_argument);
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "wide");
    EXPECT_EQ(g_ConfigParams.i_Alert3ThreshSeconds, 33);
    EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 1280U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 3U);
    EXPECT_EQ(g_ConfigParams.i_MaxDisappeared, 4) << "still in seconds";
    EXPECT_EQ(g_Tracker.m_MaxDisappeared, -5);
    EXPECT_THAT(saved(), IsEmpty());
}

TEST_F(parameter_document_test, refuses_what_is_no_document_but_publishes_the_stream_size) {
    for (const std::string& body :
         {std::string(), std::string("text"), std::string("<app>"), std::string("<app><a>1</b></app>"),
          std::string("<app><a>1</a></app>x"), std::string("<app><a>&unknown;</a></app>"),
          std::string("<app><a>\0</a></app>", 20), std::string("<app><a>\xff</a></app>"),
          posted_document().text() + "\xff", std::string("<app/>")}) {
        reset_settings();
        const std::string before = parameter_io::get_parameters();
        const texts log = log_of([&] { EXPECT_EQ(parameter_io::set_post_parameters(body), -1) << body; });
        texts expected = {"error|set_post_parameters: Failed to parse XML payload"};
        if (body != "<app/>") // well-formed, but nothing in it
            expected.insert(expected.begin(), "error|parseXMLData: Failed to parse XML payload");
        EXPECT_EQ(log, expected) << body;
        EXPECT_EQ(parameter_io::get_parameters(), before);
        EXPECT_EQ(g_ConfigParams.i_WStream, 1920);
        EXPECT_EQ(g_ConfigParams.i_HStream, 1080);
        EXPECT_EQ(g_Tracker.m_MaxDisappeared, -5);
        EXPECT_THAT(saved(), IsEmpty());
    }
}

TEST_F(parameter_document_test, refuses_documents_that_declare_entities) {
    std::string laughs = "<!DOCTYPE app [<!ENTITY e0 \"ha\">";
    for (int i = 1; i < 30; ++i) {
        const std::string one = "&e" + std::to_string(i - 1) + ";";
        laughs += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int times = 0; times < 10; ++times)
            laughs += one;
        laughs += "\">";
    }
    laughs += "]>";
    const std::string document = posted_document().text();
    const std::string bodies[] = {
        "<!DOCTYPE app [<!ENTITY a \"1\">]>" + document,
        "<!DOCTYPE app [<!ENTITY a \"1\">]><app><Eula>&a;</Eula></app>",
        "<!DOCTYPE app [<!ENTITY a SYSTEM \"file:///etc/hostname\">]><app><Eula>&a;</Eula></app>",
        "<!DOCTYPE app [<!ENTITY % a SYSTEM \"file:///etc/hostname\"> %a;]>" + document,
        "<!DOCTYPE app [<!ENTITY % a \"<!ENTITY b '1'>\"> %a;]>" + document,
        laughs + document,
        laughs + "<app><Eula>&e29;</Eula></app>",
        laughs + "<app><Eula a=\"&e29;\">1</Eula></app>",
    };
    for (const std::string& body : bodies) {
        reset_settings();
        EXPECT_THAT(log_of([&] { EXPECT_EQ(parameter_io::set_post_parameters(body), -1); }),
                    ElementsAre("error|parseXMLData: Failed to parse XML payload",
                                "error|set_post_parameters: Failed to parse XML payload"))
            << body;
        EXPECT_FALSE(g_ConfigParams.b_EulaAccepted);
        EXPECT_THAT(saved(), IsEmpty());
    }
}

TEST_F(parameter_document_test, maps_each_child_of_the_root_to_its_text) {
    using values = std::map<std::string, std::string>;
    const struct {
        const char* document;
        values expected;
    } table[] = {
        {"<app><a>1</a><b>two</b></app>", {{"a", "1"}, {"b", "two"}}},
        {"<other><a>1</a></other>", {{"a", "1"}}},
        {"<?xml version=\"1.0\"?>\n<!-- outside --><app><a>1</a></app>\n<?outside?>", {{"a", "1"}}},
        {"<!DOCTYPE app><app><a>1</a></app>", {{"a", "1"}}},
        {"<!DOCTYPE app SYSTEM \"nowhere.dtd\"><app><a>1</a></app>", {{"a", "1"}}},
        {"<app><a>1</a><a>2</a></app>", {{"a", "2"}}},
        {"<app><a>&lt;&amp;&#65;</a></app>", {{"a", "<&A"}}},
        {"<app><a><![CDATA[<b>]]>x</a></app>", {{"a", "<b>x"}}},
        {"<app><a><![CDATA[]]></a></app>", {{"a", ""}}},
        {"<app><a> \n </a></app>", {{"a", " \n "}}},
        {"<app><a>1<b>2</b>3</a></app>", {{"a", "13"}}},
        {"<app><a>1<!-- inside -->2<?inside?></a></app>", {{"a", "12"}}},
        {"<app x=\"y\"><a z=\"2\">1</a></app>", {{"a", "1"}}},
        {"<app xmlns:n=\"u\"><n:a>1</n:a></app>", {{"a", "1"}}},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><app><a>\xe4</a></app>", {{"a", "\xc3\xa4"}}},
        {"<app/>", {}},
    };
    for (const auto& [document, expected] : table)
        EXPECT_THAT(log_of([&] { EXPECT_EQ(parameter_io::parseXMLData(document), expected) << document; }), IsEmpty());
}

TEST_F(parameter_document_test, throws_at_a_child_without_text) {
    for (const char* document :
         {"<app>\n<a>1</a></app>", "<app><a>1</a> </app>", "<app><a/></app>", "<app><a></a></app>",
          "<app><!-- comment --><a>1</a></app>", "<app><?pi?><a>1</a></app>", "<app><![CDATA[x]]></app>",
          "<app>text</app>", "<app><a><b>1</b></a></app>", "<app><a><!-- only --></a></app>",
          "<!DOCTYPE app SYSTEM \"nowhere.dtd\"><app>&unknown;</app>"})
        EXPECT_THAT(log_of([&] { EXPECT_THROW(parameter_io::parseXMLData(document), std::exception) << document; }),
                    IsEmpty());
}

TEST_F(parameter_document_test, leaves_nothing_behind_whichever_thread_reads) { // the leak checker looks
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(parameter_io::parseXMLData("<app>").empty());
        std::thread([] { EXPECT_EQ(parameter_io::parseXMLData("<app><a>1</a></app>").size(), 1U); }).join();
    }
}

TEST_F(parameter_document_test, saves_seventy_values_in_their_order) {
    EXPECT_EQ(post({}), 0);
    texts expected = {"HStream 1080",
                      "WStream 1920",
                      "MinNumberOfPeopleForTrigger 3",
                      "Sensitivity 0.450000",
                      "DetectionOverlaysOn true",
                      "AnonOverlaysOn true",
                      "SelectedDetectionOverlay 1280x720",
                      "SelectedAnonOverlay 640x480",
                      "MaxDisappeared 40",
                      "DetectionOverlaysOn true",
                      "DetectPersons true",
                      "DetectCars false",
                      "DetectMotorcycles true",
                      "DetectBicycles false",
                      "DetectAirplanes true",
                      "DetectBuses false",
                      "DetectTrains true",
                      "DetectTrucks false",
                      "DetectBoats true",
                      "EulaAccepted true",
                      "Alert1Active true",
                      "Alert2Active false",
                      "Alert3Active true",
                      "Alert1ThreshSeconds 11",
                      "Alert2ThreshSeconds 22",
                      "Alert3ThreshSeconds 33"};
    const auto add = [&expected](const std::string& polygon, const int32_t* pixels, int count) {
        for (int i = 0; i < count; ++i)
            expected.push_back(polygon + std::to_string(i / 2) + (i % 2 == 0 ? "x " : "y ") +
                               std::to_string(pixels[i]));
    };
    add("Exclusion1", g_ConfigParams.i_Exclusion1, 8);
    add("Exclusion2", g_ConfigParams.i_Exclusion2, 8);
    add("Exclusion3", g_ConfigParams.i_Exclusion3, 8);
    for (const char* line :
         {"Exclusion1Active true", "Exclusion2Active false", "Exclusion3Active true", "DetectionControlPoints 8"})
        expected.emplace_back(line);
    add("Detection1", g_ConfigParams.i_Detection1, 16);
    for (std::string& line : expected)
        line = "ax_parameter_set " + line + " 1";
    EXPECT_EQ(saved(), expected);
    EXPECT_EQ(expected.size(), 70U);
}

TEST_F(parameter_document_test, gives_texts_as_they_are_stored) {
    for (const char* text : {"", "<&>\"'", "\x01\xff", "</SelectedAnonOverlay"}) {
        g_ConfigParams.str_DetectionOverlay = text;
        EXPECT_EQ(given("SelectedDetectionOverlay"), text);
    }
}

TEST_F(parameter_document_test, can_be_posted_as_it_is_given) {
    EXPECT_EQ(post({}), 0);
    const std::string given_out = parameter_io::get_parameters();
    EXPECT_EQ(parameter_io::set_post_parameters(given_out), 0);
    EXPECT_EQ(parameter_io::parseXMLData(given_out).size(), 68U);
    EXPECT_EQ(given("MaxDisappear"), "4");
    EXPECT_EQ(given("Sensitivity"), "0.45");
}

} // namespace
