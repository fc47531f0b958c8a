#pragma once

#include <larod.h>

#include <cstdint>
#include <string>

/**
 * Every user setting and the fixed facts of the model. Coordinates are pixels of the analysed stream.
 *
 * The live record is filled on the main thread at start-up and rewritten field by field on the web thread when
 * settings are posted, while the analysis pass reads it; base/shared_field.h says how the two meet.
 */
struct ConfigParams {
    larodChip l_LarodChipType{};          // inference device
    uint32_t i_ModelWidth{};              // pixels, landscape
    uint32_t i_ModelHeight{};             // pixels, landscape
    int32_t i_MainLoopTime{};             // period of the analysis, milliseconds
    std::string s_LandscapeModelFileName; // bare file names
    std::string s_PortraitModelFileName;
    bool b_EulaAccepted{};     // analysis runs only when true
    int32_t i_Exclusion1[8]{}; // four points as x0, y0 .. x3, y3
    int32_t i_Exclusion2[8]{};
    int32_t i_Exclusion3[8]{};
    bool b_Exclusion1Active{};
    bool b_Exclusion2Active{};
    bool b_Exclusion3Active{};
    int32_t i_Detection1[16]{};         // area of interest, eight points as x0, y0 .. x7, y7
    int32_t i_DetectionControlPoints{}; // how many of them are in use
    int32_t i_WStream{};                // size of the analysed stream, published for the web pages
    int32_t i_HStream{};
    int32_t i_MinNumberOfPeopleForTrigger{};
    float f_Sensitivity{}; // score threshold of the detector, 0 to 1
    bool b_DetectionOverlaysOn{};
    bool b_AnonOverlaysOn{};
    std::string str_DetectionOverlay; // stream size as width "x" height, "0x0" for none
    std::string str_AnonOverlay;
    int32_t i_MaxDisappeared{}; // passes for which a lost object is remembered
    bool b_DetectPersons{};
    bool b_DetectCars{};
    bool b_DetectMotorcycles{};
    bool b_DetectBicycles{};
    bool b_DetectAirplanes{};
    bool b_DetectBuses{};
    bool b_DetectTrains{};
    bool b_DetectTrucks{};
    bool b_DetectBoats{};
    bool b_Alert1{};
    bool b_Alert2{};
    bool b_Alert3{};
    int32_t i_Alert1ThreshSeconds{};
    int32_t i_Alert2ThreshSeconds{};
    int32_t i_Alert3ThreshSeconds{};
};

extern ConfigParams g_ConfigParams;
