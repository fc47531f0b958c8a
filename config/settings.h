#pragma once

#include "config/config_params.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

/** Where a setting stands in the live record; the arrays are polygons, x0, y0, x1, y1 ... */
using setting_field =
    std::variant<int32_t ConfigParams::*, float ConfigParams::*, bool ConfigParams::*, std::string ConfigParams::*,
                 int32_t (ConfigParams::*)[8], int32_t (ConfigParams::*)[16]>;

/** A setting that users can change. */
struct setting {
    const char* stored; // name in the parameter store; a polygon's coordinates have the point's index and x or y behind
    const char* element; // of the web document, null for none; a polygon's coordinates have their index behind it
    setting_field field;
};

/** The rows of the table below. */
enum class row : uint8_t {
    h_stream,
    w_stream,
    min_number,
    sensitivity,
    max_disappeared,
    main_loop_time,
    control_points,
    area,
    alert1,
    alert2,
    alert3,
    alert1_seconds,
    alert2_seconds,
    alert3_seconds,
    zone1,
    zone2,
    zone3,
    zone1_active,
    zone2_active,
    zone3_active,
    detection_overlays_on,
    anon_overlays_on,
    detection_overlay,
    anon_overlay,
    persons,
    cars,
    motorcycles,
    bicycles,
    airplanes,
    buses,
    trains,
    trucks,
    boats,
    eula,
    count
};

/** All settings, in the order in which the store gets to know them. */
inline constexpr std::array<setting, static_cast<size_t>(row::count)> kSettings = {{
    {"HStream", nullptr, &ConfigParams::i_HStream},
    {"WStream", nullptr, &ConfigParams::i_WStream},
    {"MinNumberOfPeopleForTrigger", "MinNumberOfPeopleForTrigger", &ConfigParams::i_MinNumberOfPeopleForTrigger},
    {"Sensitivity", "Sensitivity", &ConfigParams::f_Sensitivity},
    {"MaxDisappeared", "MaxDisappear", &ConfigParams::i_MaxDisappeared}, // passes; in the document, seconds
    {"MainLoopTime", nullptr, &ConfigParams::i_MainLoopTime},
    {"DetectionControlPoints", "DetectionControlPoints", &ConfigParams::i_DetectionControlPoints},
    {"Detection1", "Detection1_", &ConfigParams::i_Detection1},
    {"Alert1Active", "Alert1_Active", &ConfigParams::b_Alert1},
    {"Alert2Active", "Alert2_Active", &ConfigParams::b_Alert2},
    {"Alert3Active", "Alert3_Active", &ConfigParams::b_Alert3},
    {"Alert1ThreshSeconds", "Alert1ThreshSeconds", &ConfigParams::i_Alert1ThreshSeconds},
    {"Alert2ThreshSeconds", "Alert2ThreshSeconds", &ConfigParams::i_Alert2ThreshSeconds},
    {"Alert3ThreshSeconds", "Alert3ThreshSeconds", &ConfigParams::i_Alert3ThreshSeconds},
    {"Exclusion1", "Exclusion1_", &ConfigParams::i_Exclusion1},
    {"Exclusion2", "Exclusion2_", &ConfigParams::i_Exclusion2},
    {"Exclusion3", "Exclusion3_", &ConfigParams::i_Exclusion3},
    {"Exclusion1Active", "Exclusion1_Active", &ConfigParams::b_Exclusion1Active},
    {"Exclusion2Active", "Exclusion2_Active", &ConfigParams::b_Exclusion2Active},
    {"Exclusion3Active", "Exclusion3_Active", &ConfigParams::b_Exclusion3Active},
    {"DetectionOverlaysOn", "DetectionOverlaysOn", &ConfigParams::b_DetectionOverlaysOn},
    {"AnonOverlaysOn", "AnonOverlaysOn", &ConfigParams::b_AnonOverlaysOn},
    {"SelectedDetectionOverlay", "SelectedDetectionOverlay", &ConfigParams::str_DetectionOverlay},
    {"SelectedAnonOverlay", "SelectedAnonOverlay", &ConfigParams::str_AnonOverlay},
    {"DetectPersons", "DetectPersons", &ConfigParams::b_DetectPersons},
    {"DetectCars", "DetectCars", &ConfigParams::b_DetectCars},
    {"DetectMotorcycles", "DetectMotorcycles", &ConfigParams::b_DetectMotorcycles},
    {"DetectBicycles", "DetectBicycles", &ConfigParams::b_DetectBicycles},
    {"DetectAirplanes", "DetectAirplanes", &ConfigParams::b_DetectAirplanes},
    {"DetectBuses", "DetectBuses", &ConfigParams::b_DetectBuses},
    {"DetectTrains", "DetectTrains", &ConfigParams::b_DetectTrains},
    {"DetectTrucks", "DetectTrucks", &ConfigParams::b_DetectTrucks},
    {"DetectBoats", "DetectBoats", &ConfigParams::b_DetectBoats},
    {"EulaAccepted", "Eula", &ConfigParams::b_EulaAccepted},
}};

constexpr const setting& setting_of(row which) {
    return kSettings[static_cast<size_t>(which)];
}

/** The rows from one to another, both included, in the table's order. */
template <row First, row Last>
constexpr auto rows_from_to() {
    std::array<row, static_cast<size_t>(Last) - static_cast<size_t>(First) + 1> rows{};
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = static_cast<row>(static_cast<size_t>(First) + i);
    return rows;
}

inline constexpr auto kWantedClasses = rows_from_to<row::persons, row::boats>();
/** Which alerts are enabled, then after how many seconds each comes. */
inline constexpr auto kAlertSettings = rows_from_to<row::alert1, row::alert3_seconds>();

struct exclusion_zone {
    row corners;
    row active;
};

inline constexpr std::array<exclusion_zone, 3> kExclusionZones = {
    {{row::zone1, row::zone1_active}, {row::zone2, row::zone2_active}, {row::zone3, row::zone3_active}}};

/** Calls `visit` with the setting's value in the record: a reference, or for a polygon a span of its coordinates. */
template <typename Config, typename Visit>
void visit_value(const setting& which, Config& config, Visit&& visit) {
    std::visit(
        [&](auto field) {
            auto& value = config.*field;
            if constexpr (std::is_array_v<std::remove_reference_t<decltype(value)>>)
                visit(std::span(value));
            else
                visit(value);
        },
        which.field);
}

/** One function object of several, each for the kinds of values that it takes. */
template <typename... Visits>
struct for_each_kind : Visits... {
    using Visits::operator()...;
};
template <typename... Visits>
for_each_kind(Visits...) -> for_each_kind<Visits...>;

/** The names under which the store keeps the setting: one, or for a polygon one a coordinate. */
std::vector<std::string> stored_names(const setting& which);
/** The same for the web document; empty for a setting that it does not show. */
std::vector<std::string> element_names(const setting& which);
