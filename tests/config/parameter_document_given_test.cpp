// The document as it is given out, and what is read from any document.

#include "tests/config/parameter_document_fixture.h"

#include <gmock/gmock.h>

#include <climits>
#include <limits>
#include <map>
#include <thread>

using testing::IsEmpty;

namespace {

TEST_F(ParameterDocumentTest, Gives68ElementsInTheirOrder) {
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

TEST_F(ParameterDocumentTest, GivesTheSensitivityInFourCharacters) {
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

TEST_F(ParameterDocumentTest, GivesPercentagesCutTowardZero) {
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

TEST_F(ParameterDocumentTest, GivesTextsAsTheyAreStored) {
    for (const char* text : {"", "<&>\"'", "\x01\xff", "</SelectedAnonOverlay"}) {
        g_ConfigParams.str_DetectionOverlay = text;
        EXPECT_EQ(given("SelectedDetectionOverlay"), text);
    }
}

TEST_F(ParameterDocumentTest, MapsEachChildOfTheRootToItsText) {
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
    for (const auto& row : table)
        EXPECT_THAT(log_of([&row] { EXPECT_EQ(parameter_io::parseXMLData(row.document), row.expected); }), IsEmpty())
            << row.document;
}

TEST_F(ParameterDocumentTest, ThrowsAtAChildWithoutText) {
    for (const char* document :
         {"<app>\n<a>1</a></app>", "<app><a>1</a> </app>", "<app><a/></app>", "<app><a></a></app>",
          "<app><!-- comment --><a>1</a></app>", "<app><?pi?><a>1</a></app>", "<app><![CDATA[x]]></app>",
          "<app>text</app>", "<app><a><b>1</b></a></app>", "<app><a><!-- only --></a></app>",
          "<!DOCTYPE app SYSTEM \"nowhere.dtd\"><app>&unknown;</app>"})
        EXPECT_THAT(log_of([&] { EXPECT_THROW(parameter_io::parseXMLData(document), std::exception) << document; }),
                    IsEmpty());
}

TEST_F(ParameterDocumentTest, LeavesNothingBehindWhicheverThreadReads) { // the leak checker looks
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(parameter_io::parseXMLData("<app>").empty());
        std::thread([] { EXPECT_EQ(parameter_io::parseXMLData("<app><a>1</a></app>").size(), 1U); }).join();
    }
}

} // namespace
