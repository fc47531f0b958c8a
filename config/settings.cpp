#include "config/settings.h"

namespace {

size_t coordinates_of(const setting& which) {
    if (std::holds_alternative<int32_t(ConfigParams::*)[8]>(which.field))
        return 8;
    return std::holds_alternative<int32_t(ConfigParams::*)[16]>(which.field) ? 16 : 0;
}

} // namespace

std::vector<std::string> stored_names(const setting& which) {
    const size_t count = coordinates_of(which);
    if (count == 0)
        return {which.stored};
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i)
        names.push_back(which.stored + std::to_string(i / 2) + (i % 2 == 0 ? "x" : "y"));
    return names;
}

std::vector<std::string> element_names(const setting& which) {
    if (which.element == nullptr)
        return {};
    const size_t count = coordinates_of(which);
    if (count == 0)
        return {which.element};
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i)
        names.push_back(which.element + std::to_string(i));
    return names;
}
