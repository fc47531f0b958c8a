#include "platform/axevent/topic.h"

#include <algorithm>

namespace host_events {
namespace {

/** A level's name space is not fixed: the key alone tells it. */
const KeyValue* level(const KeyValueSet& set, int number) {
    const std::string key = "topic" + std::to_string(number);
    const auto found = std::ranges::find(set.entries(), key, &KeyValue::key);
    return found == set.entries().end() ? nullptr : &*found;
}

} // namespace

std::optional<Topic> topic_of(const KeyValueSet& set) {
    Topic topic;
    for (int number = 0;; ++number) {
        const KeyValue* entry = level(set, number);
        if (entry == nullptr)
            break;
        const auto* text = std::get_if<std::string>(&entry->value);
        if (text == nullptr || text->empty())
            return std::nullopt;
        if (number == 0)
            topic.path = entry->name_space.empty() ? "" : entry->name_space + ":";
        else
            topic.path += '/';
        topic.path += *text;
        topic.last = *text;
        if (!entry->value_nice_name.empty())
            topic.nice_name = entry->value_nice_name;
    }
    if (topic.path.empty())
        return std::nullopt;
    if (topic.nice_name.empty())
        topic.nice_name = topic.last;
    return topic;
}

std::optional<bool> active_of(const KeyValueSet& set) {
    const KeyValue* entry = set.find("active", "");
    if (entry == nullptr || !std::holds_alternative<bool>(entry->value))
        return std::nullopt;
    return std::get<bool>(entry->value);
}

} // namespace host_events
