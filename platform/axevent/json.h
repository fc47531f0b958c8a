#pragma once

#include <json-glib/json-glib.h>

#include <string>
#include <utility>
#include <vector>

namespace host_events {

/** A text as JSON writes it, quotes and all. */
inline std::string json_text(const std::string& value) {
    g_autoptr(JsonNode) node = json_node_init_string(json_node_alloc(), value.c_str());
    g_autofree gchar* text = json_to_string(node, FALSE);
    return text;
}

/** An object on one line; the members' values are JSON already. */
inline std::string json_object(const std::vector<std::pair<const char*, std::string>>& members) {
    std::string text;
    for (const auto& [name, value] : members)
        text += (text.empty() ? "{" : ",") + json_text(name) + ":" + value;
    return text + "}";
}

} // namespace host_events
