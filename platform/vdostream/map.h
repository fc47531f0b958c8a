#pragma once

#include "platform/vdostream/object.h"
#include "vdo-map.h"

#include <cstdint>
#include <map>
#include <string>

namespace vdostream {

/** Ordered, so that a dump reads the same every time. */
using MapValues = std::map<std::string, std::uint32_t>;

inline std::uint32_t value_or(const MapValues& values, const char* name, std::uint32_t fallback) {
    const auto found = values.find(name);
    return found == values.end() ? fallback : found->second;
}

} // namespace vdostream

/** Not locked: a map belongs to the thread that fills it. */
struct _VdoMap : vdostream::Object<vdostream::MapValues> {};
