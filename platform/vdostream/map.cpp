#include "platform/vdostream/map.h"

#include <cstdio>
#include <memory>

VdoMap* vdo_map_new() {
    return vdostream::make_object<VdoMap>("KorvexVdoMap", std::make_unique<vdostream::MapValues>());
}

void vdo_map_set_uint32(VdoMap* map, const gchar* name, guint32 value) {
    if (map != nullptr && name != nullptr)
        (*map->state)[name] = value;
}

guint32 vdo_map_get_uint32(const VdoMap* map, const gchar* name, guint32 default_value) {
    return map == nullptr || name == nullptr ? default_value : vdostream::value_or(*map->state, name, default_value);
}

void vdo_map_dump(const VdoMap* map) {
    if (map == nullptr)
        return;
    for (const auto& [name, value] : *map->state)
        std::printf("%s: %u\n", name.c_str(), value);
    std::fflush(stdout);
}
