#include "detection/object_class.h"

#include "base/shared_field.h"
#include "config/config_params.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::array<object_class, 9> kClasses = {{{"Person", &ConfigParams::b_DetectPersons},
                                                   {"Bicycle", &ConfigParams::b_DetectBicycles},
                                                   {"Car", &ConfigParams::b_DetectCars},
                                                   {"Motorcycle", &ConfigParams::b_DetectMotorcycles},
                                                   {"Airplane", &ConfigParams::b_DetectAirplanes},
                                                   {"Bus", &ConfigParams::b_DetectBuses},
                                                   {"Train", &ConfigParams::b_DetectTrains},
                                                   {"Truck", &ConfigParams::b_DetectTrucks},
                                                   {"Boat", &ConfigParams::b_DetectBoats}}};

const object_class* find_class(int class_id) {
    return class_id >= 0 && static_cast<size_t>(class_id) < kClasses.size() ? &kClasses[static_cast<size_t>(class_id)]
                                                                            : nullptr;
}

} // namespace

std::span<const object_class> object_classes() {
    return kClasses;
}

std::string class_label(int class_id) {
    const object_class* found = find_class(class_id);
    return found != nullptr ? found->label : "Unknown";
}

bool is_class_wanted(int class_id) {
    const object_class* found = find_class(class_id);
    return found != nullptr && read_shared(g_ConfigParams.*found->wanted);
}
