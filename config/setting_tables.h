#pragma once

#include "config/config_params.h"

#include <array>
#include <cstdint>

/** A setting that the parameter store and the web document know by the same name. */
template <typename Value>
struct named_setting {
    const char* name;
    Value ConfigParams::*field;
};

/** Which classes count, in the order of both the store and the document. */
inline constexpr std::array<named_setting<bool>, 9> kWantedClasses = {
    {{"DetectPersons", &ConfigParams::b_DetectPersons},
     {"DetectCars", &ConfigParams::b_DetectCars},
     {"DetectMotorcycles", &ConfigParams::b_DetectMotorcycles},
     {"DetectBicycles", &ConfigParams::b_DetectBicycles},
     {"DetectAirplanes", &ConfigParams::b_DetectAirplanes},
     {"DetectBuses", &ConfigParams::b_DetectBuses},
     {"DetectTrains", &ConfigParams::b_DetectTrains},
     {"DetectTrucks", &ConfigParams::b_DetectTrucks},
     {"DetectBoats", &ConfigParams::b_DetectBoats}}};

inline constexpr std::array<named_setting<int32_t>, 3> kAlertSeconds = {
    {{"Alert1ThreshSeconds", &ConfigParams::i_Alert1ThreshSeconds},
     {"Alert2ThreshSeconds", &ConfigParams::i_Alert2ThreshSeconds},
     {"Alert3ThreshSeconds", &ConfigParams::i_Alert3ThreshSeconds}}};
