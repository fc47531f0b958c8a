#pragma once

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using texts = std::vector<std::string>;

inline texts words_of(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

inline const texts kClasses =
    words_of("DetectPersons DetectCars DetectMotorcycles DetectBicycles DetectAirplanes DetectBuses DetectTrains "
             "DetectTrucks DetectBoats");

/** Every parameter in the order of registration, spelled out. */
inline const texts kAllParameters =
    words_of("HStream WStream MinNumberOfPeopleForTrigger Sensitivity MaxDisappeared MainLoopTime "
             "DetectionControlPoints "
             "Detection10x Detection10y Detection11x Detection11y Detection12x Detection12y Detection13x Detection13y "
             "Detection14x Detection14y Detection15x Detection15y Detection16x Detection16y Detection17x Detection17y "
             "Alert1Active Alert2Active Alert3Active "
             "Alert1ThreshSeconds Alert2ThreshSeconds Alert3ThreshSeconds "
             "Exclusion10x Exclusion10y Exclusion11x Exclusion11y Exclusion12x Exclusion12y Exclusion13x Exclusion13y "
             "Exclusion20x Exclusion20y Exclusion21x Exclusion21y Exclusion22x Exclusion22y Exclusion23x Exclusion23y "
             "Exclusion30x Exclusion30y Exclusion31x Exclusion31y Exclusion32x Exclusion32y Exclusion33x Exclusion33y "
             "Exclusion1Active Exclusion2Active Exclusion3Active "
             "DetectionOverlaysOn AnonOverlaysOn SelectedDetectionOverlay SelectedAnonOverlay "
             "DetectPersons DetectCars DetectMotorcycles DetectBicycles DetectAirplanes DetectBuses DetectTrains "
             "DetectTrucks DetectBoats "
             "EulaAccepted");

/** From one name to another, both included. */
inline texts part_of_all(const std::string& first, const std::string& last) {
    const auto from = std::find(kAllParameters.begin(), kAllParameters.end(), first);
    return {from, std::find(from, kAllParameters.end(), last) + 1};
}

inline texts operator+(texts a, const texts& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline texts prefixed(const std::string& prefix, const texts& names) {
    texts lines;
    for (const std::string& name : names)
        lines.push_back(prefix + name);
    return lines;
}
