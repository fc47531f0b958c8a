#pragma once

#include "platform/axevent/key_value_set.h"

#include <optional>
#include <string>

namespace host_events {

/**
 * How the outside knows an event, read from the keys topic0, topic1, ... of its declaration, up to the first that is
 * missing.
 */
struct Topic {
    std::string path;      // "tnsaxis:CameraApplicationPlatform/...": the name space stands before the first level only
    std::string last;      // the last level
    std::string nice_name; // the value's nice name of the last level that has one; without any, the last level itself
};

/** Nothing when there is no topic0, or a level is no text or empty: such an event has no address. */
std::optional<Topic> topic_of(const KeyValueSet& set);

/** The state of an event: the value of the key `active` outside of any name space; nothing when that is no bool. */
std::optional<bool> active_of(const KeyValueSet& set);

} // namespace host_events
