#pragma once

#include <span>
#include <string>

struct ConfigParams;

/** What the network can tell apart: one of its classes, and the setting that asks for it. */
struct object_class {
    const char* label; // as overlays, console and replays show it
    bool ConfigParams::*wanted;
};

/** All classes, by the network's class index. */
std::span<const object_class> object_classes();

/** The class's label; "Unknown" for an index that is none. Any thread. */
std::string class_label(int class_id);

/** The live settings ask for this class; no index outside the table is wanted. Any thread. */
bool is_class_wanted(int class_id);
