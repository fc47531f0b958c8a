// What a posted document does.

#include "tests/config/parameter_document_fixture.h"

#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <map>
#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using texts = std::vector<std::string>;

TEST_F(ParameterDocumentTest, GivesAndTakesPatienceInSeconds) {
    const struct {
        const char* posted;
        const char* given;
        int period;
        int passes;
    } table[] = {{"3", "3", 100, 30},
                 {"-3", "-3", 100, -30},
                 {"2", "2", 300, 6},
                 {"7", "7", 1000, 7},
                 {"7", "0", 1001, 0},
                 {"7", "0", 0, 0},
                 {"3", "3", -100, -30},
                 {"2147483647", "-1", 1, -1000},
                 {"-2147483648", "-2147483648", -1000, INT_MIN}};
    for (const auto& [posted, text, period, passes] : table) {
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

TEST_F(ParameterDocumentTest, TakesPercentagesCutTowardZero) {
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

TEST_F(ParameterDocumentTest, TakesEveryFieldAndHandsItOn) {
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

TEST_F(ParameterDocumentTest, HandsTheAreaFourSixOrEightPoints) {
    for (const auto& [in_use, points] :
         std::map<std::string, size_t>{{"-1", 4}, {"4", 4}, {"5", 6}, {"6", 6}, {"7", 6}, {"8", 8}, {"9", 6}}) {
        EXPECT_EQ(post(posted_document().set("DetectionControlPoints", in_use)), 0);
        EXPECT_EQ(g_AreaofInterest.get_detection(1).size(), points) << in_use;
        EXPECT_EQ(given("DetectionControlPoints"), in_use);
    }
}

TEST_F(ParameterDocumentTest, SwitchesOffAnOverlayStreamWhateverItsSize) {
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

TEST_F(ParameterDocumentTest, TakesOnly1ForTrue) {
    for (const char* text : {"0", "true", "01", "1 ", " 1", "+1", "2"}) {
        g_ConfigParams.b_DetectPersons = true;
        EXPECT_EQ(post(posted_document().set("DetectPersons", text)), 0);
        EXPECT_FALSE(g_ConfigParams.b_DetectPersons) << text;
    }
    for (const char* name : {"DetectBoats", "Alert1_Active", "Eula", "Exclusion3_Active"})
        EXPECT_EQ(post(posted_document().remove(name)), 0) << name;
    EXPECT_FALSE(g_ConfigParams.b_Exclusion3Active);
}

TEST_F(ParameterDocumentTest, TakesTheNumberFormsOfTheLibrary) {
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
    static const ConfigParams& c = g_ConfigParams;
    const std::pair<int, int> first_pixel = {5 * 1920 / 100, 6 * 1080 / 100};
    std::vector<step> all = {
        {"MinNumberOfPeopleForTrigger", [] { return c.i_MinNumberOfPeopleForTrigger == 3; }},
        {"Sensitivity", [] { return c.f_Sensitivity == 0.45F; }},
        {nullptr, [] { return c.b_DetectionOverlaysOn; }},
        {"MaxDisappear", [] { return c.i_MaxDisappeared == 4 || c.i_MaxDisappeared == 40; }},
        {nullptr, [] { return c.str_DetectionOverlay == "1280x720"; }},
        {nullptr, [] { return c.b_AnonOverlaysOn; }},
        {nullptr, [] { return c.str_AnonOverlay == "640x480"; }},
        {nullptr, [] { return c.b_EulaAccepted; }},
        {nullptr, [] { return c.b_DetectPersons; }},
        {nullptr, [] { return c.b_DetectBoats; }},
        {nullptr, [] { return c.b_Alert1; }},
        {nullptr, [] { return c.b_Alert3; }},
        {"Alert1ThreshSeconds", [] { return c.i_Alert1ThreshSeconds == 11; }},
        {"Alert2ThreshSeconds", [] { return c.i_Alert2ThreshSeconds == 22; }},
        {"Alert3ThreshSeconds", [] { return c.i_Alert3ThreshSeconds == 33; }},
        {nullptr, [] { return g_OverlayInfo.overlayStreamWidth == 1280; }},
        {nullptr, [] { return g_OverlayInfo.anonymizedStreamWidth == 640; }},
        {nullptr, [] { return c.i_MaxDisappeared == 40; }},
        {nullptr, [] { return g_LocationController.m_Threshold == 0.45F; }},
        {nullptr, [] { return g_Tracker.m_MaxDisappeared == 40; }},
        {"DetectionControlPoints", [] { return c.i_DetectionControlPoints == 8; }},
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
        all.push_back({names[i].c_str(), [i] { return c.i_Detection1[i] != 0; }});
    all.push_back({nullptr, [=] {
                       const t_Polygon area = g_AreaofInterest.get_detection(1);
                       return area.size() == 8 && area[0] == first_pixel;
                   }});
    for (size_t i = 0; i < 24; ++i) {
        const auto zone =
            i < 8 ? &ConfigParams::i_Exclusion1 : (i < 16 ? &ConfigParams::i_Exclusion2 : &ConfigParams::i_Exclusion3);
        all.push_back({names[16 + i].c_str(), [zone, i] { return (c.*zone)[i % 8] != 0; }});
        if (i == 7)
            all.push_back({nullptr, [] { return c.b_Exclusion1Active; }});
        if (i == 23)
            all.push_back({nullptr, [] { return c.b_Exclusion3Active; }});
    }
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion(1).size() == 4; }});
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion_active(3); }});
    all.push_back({nullptr, [] { return g_AreaofInterest.get_exclusion(3).size() == 4; }});
    return all;
}

TEST_F(ParameterDocumentTest, StopsAtTheFirstNumberThatIsNone) {
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

TEST_F(ParameterDocumentTest, StopsAtTheSizeOfAStreamThatIsNone) {
    EXPECT_THROW(post(posted_document().set("SelectedAnonOverlay", "wide")), std::invalid_argument);
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "wide");
    EXPECT_EQ(g_ConfigParams.i_Alert3ThreshSeconds, 33);
    EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 1280U);
    EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 3U);
    EXPECT_EQ(g_ConfigParams.i_MaxDisappeared, 4) << "still in seconds";
    EXPECT_EQ(g_Tracker.m_MaxDisappeared, -5);
    EXPECT_THAT(saved(), IsEmpty());
}

TEST_F(ParameterDocumentTest, RefusesWhatIsNoDocumentButPublishesTheStreamSize) {
    for (const std::string& body :
         {std::string(), std::string("text"), std::string("<app>"), std::string("<app><a>1</b></app>"),
          std::string("<app><a>1</a></app>x"), std::string("<app><a>&unknown;</a></app>"),
          std::string("<app><a>\0</a></app>", 19), std::string("<app><a>\xff</a></app>"),
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

TEST_F(ParameterDocumentTest, RefusesDocumentsThatDeclareEntities) {
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
        "<!DOCTYPE app [<!NOTATION n SYSTEM \"n\"><!ENTITY a SYSTEM \"a\" NDATA n>]>" + document,
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

TEST_F(ParameterDocumentTest, RefusesDocumentsThatDeclareDefaultsOfAttributes) {
    const std::string document = posted_document().text();
    const std::string large(30000, 'n');
    std::string elements = "<app>";
    for (int i = 0; i < 4000; ++i) // each would carry the namespace
        elements += "<a>1</a>";
    const std::string bodies[] = {
        "<!DOCTYPE app [<!ATTLIST a xmlns CDATA \"" + large + "\">]>" + elements + "</app>",
        "<!DOCTYPE app [<!ATTLIST a xmlns:n CDATA #FIXED \"" + large + "\">]>" + elements + "</app>",
        "<!DOCTYPE app [<!ATTLIST Eula x CDATA \"1\">]>" + document,
        "<!DOCTYPE app [<!ATTLIST Eula x (a|b) \"a\">]>" + document,
        "<?xml version=\"1.0\" encoding=\"UTF-7\"?>+ADwAIQ-DOCTYPE app [+ADwAIQ-ATTLIST a x CDATA \"1\">]>" + document,
    };
    for (const std::string& body : bodies) {
        reset_settings();
        EXPECT_THAT(log_of([&] { EXPECT_EQ(parameter_io::set_post_parameters(body), -1); }),
                    ElementsAre("error|parseXMLData: Failed to parse XML payload",
                                "error|set_post_parameters: Failed to parse XML payload"))
            << body.substr(0, 100);
        EXPECT_FALSE(g_ConfigParams.b_EulaAccepted);
        EXPECT_THAT(saved(), IsEmpty());
    }
    for (const char* harmless : {"#IMPLIED", "#REQUIRED"}) {
        reset_settings();
        const std::string type = std::string("<!DOCTYPE app [<!ATTLIST Eula x (a|b) ") + harmless + ">]>";
        EXPECT_EQ(parameter_io::set_post_parameters(type + document), 0) << harmless;
    }
}

TEST_F(ParameterDocumentTest, SavesSeventyValuesInTheirOrder) {
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
        line.insert(0, "ax_parameter_set ").append(" 1");
    EXPECT_EQ(saved(), expected);
    EXPECT_EQ(expected.size(), 70U);
}

TEST_F(ParameterDocumentTest, CanBePostedAsItIsGiven) {
    EXPECT_EQ(post({}), 0);
    const std::string given_out = parameter_io::get_parameters();
    EXPECT_EQ(parameter_io::set_post_parameters(given_out), 0);
    EXPECT_EQ(parameter_io::parseXMLData(given_out).size(), 68U);
    EXPECT_EQ(given("MaxDisappear"), "4");
    EXPECT_EQ(given("Sensitivity"), "0.45");
}

} // namespace
