#include "tests/config/posted_document.h"

#include <algorithm>

posted_document::posted_document()
    : m_elements{{"MinNumberOfPeopleForTrigger", "3"},
                 {"Sensitivity", "0.45"},
                 {"MaxDisappear", "4"},
                 {"DetectPersons", "1"},
                 {"DetectCars", "0"},
                 {"DetectMotorcycles", "1"},
                 {"DetectBicycles", "0"},
                 {"DetectAirplanes", "1"},
                 {"DetectBuses", "0"},
                 {"DetectTrains", "1"},
                 {"DetectTrucks", "0"},
                 {"DetectBoats", "1"},
                 {"Alert1_Active", "1"},
                 {"Alert2_Active", "0"},
                 {"Alert3_Active", "1"},
                 {"Alert1ThreshSeconds", "11"},
                 {"Alert2ThreshSeconds", "22"},
                 {"Alert3ThreshSeconds", "33"},
                 {"Eula", "1"},
                 {"DetectionOverlaysOn", "1"},
                 {"AnonOverlaysOn", "1"},
                 {"SelectedDetectionOverlay", "1280x720"},
                 {"SelectedAnonOverlay", "640x480"},
                 {"DetectionControlPoints", "8"}} {
    for (int i = 0; i < 16; ++i)
        m_elements.emplace_back("Detection1_" + std::to_string(i), std::to_string(5 + i));
    for (int zone = 1; zone <= 3; ++zone) {
        const std::string name = "Exclusion" + std::to_string(zone) + "_";
        for (int i = 0; i < 8; ++i)
            m_elements.emplace_back(name + std::to_string(i), std::to_string(20 * zone + i));
        m_elements.emplace_back(name + "Active", zone == 2 ? "0" : "1");
    }
}

posted_document& posted_document::set(const std::string& name, const std::string& value) {
    for (auto& element : m_elements)
        if (element.first == name)
            element.second = value;
    return *this;
}

posted_document& posted_document::remove(const std::string& name) {
    std::erase_if(m_elements, [&name](const auto& element) { return element.first == name; });
    return *this;
}

std::string posted_document::value(const std::string& name) const {
    const auto found = std::find_if(m_elements.begin(), m_elements.end(),
                                    [&name](const auto& element) { return element.first == name; });
    return found == m_elements.end() ? "" : found->second;
}

std::string posted_document::text() const {
    std::string text = "<app>";
    for (const auto& [name, value] : m_elements)
        text += "<" + name + ">" + value + "</" + name + ">";
    return text + "</app>";
}
