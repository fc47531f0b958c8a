#include "host/settings_file.h"

#include "base/arithmetic.h"
#include "config/settings.h"

#include <json-glib/json-glib.h>

#include <charconv>
#include <memory>
#include <stdexcept>

namespace console {
namespace {

constexpr const char* kind = "korvex-orvel-settings";
constexpr int thousand = 1000;

struct ReaderOfFile {
    const SettingsTarget& target;
    JsonObject* file;
    std::vector<std::string> parameters{};

    void add(const std::string& name, const std::string& value) { parameters.push_back(name + "=" + value); }

    JsonNode* member(const char* group, const std::string& name) const {
        JsonNode* node = json_object_get_member(file, group);
        JsonObject* object = node != nullptr && JSON_NODE_HOLDS_OBJECT(node) ? json_node_get_object(node) : nullptr;
        JsonNode* found = object != nullptr ? json_object_get_member(object, name.c_str()) : nullptr;
        if (found == nullptr || !JSON_NODE_HOLDS_VALUE(found))
            throw std::runtime_error("its " + name + " is missing");
        return found;
    }

    void take_flag(const setting& which) {
        JsonNode* node = member("flags", which.element);
        if (json_node_get_value_type(node) != G_TYPE_BOOLEAN)
            throw std::runtime_error("its " + std::string(which.element) + " is neither true nor false");
        add(which.stored, json_node_get_boolean(node) != FALSE ? "true" : "false");
    }

    std::string text_of(const setting& which) const {
        JsonNode* node = member("texts", which.element);
        if (json_node_get_value_type(node) != G_TYPE_STRING)
            throw std::runtime_error("its " + std::string(which.element) + " is no text");
        return json_node_get_string(node);
    }

    void take_seconds_as_passes(const setting& which) {
        const std::string text = text_of(which);
        int seconds = 0;
        const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        if (problem != std::errc() || end != text.data() + text.size() || target.period_ms <= 0)
            throw std::runtime_error("its " + std::string(which.element) + " is no number of seconds");
        add(which.stored, std::to_string(wrap_multiply(seconds, thousand / target.period_ms)));
    }

    /** All of them, also those that are not in use. */
    void take_points(const setting& which, JsonArray* points, guint count) {
        const std::vector<std::string> names = stored_names(which);
        if (points == nullptr || json_array_get_length(points) != count || names.size() != std::size_t{2} * count)
            throw std::runtime_error("its " + std::string(which.stored) + " has not " + std::to_string(count) +
                                     " points");
        for (guint i = 0; i < count; ++i) {
            JsonNode* node = json_array_get_element(points, i);
            JsonObject* point = JSON_NODE_HOLDS_OBJECT(node) ? json_node_get_object(node) : nullptr;
            for (const bool is_x : {true, false}) {
                JsonNode* value = point != nullptr ? json_object_get_member(point, is_x ? "x" : "y") : nullptr;
                if (value == nullptr || json_node_get_value_type(value) != G_TYPE_INT64)
                    throw std::runtime_error("its " + std::string(which.stored) +
                                             " has a point that is no pair of whole per cents");
                const auto percent = static_cast<int32_t>(json_node_get_int(value));
                const int extent = is_x ? target.width : target.height;
                add(names[std::size_t{2} * i + (is_x ? 0 : 1)],
                    std::to_string(wrap_divide(wrap_multiply(percent, extent), 100)));
            }
        }
    }

    JsonArray* array(const char* name) const {
        JsonNode* node = json_object_get_member(file, name);
        return node != nullptr && JSON_NODE_HOLDS_ARRAY(node) ? json_node_get_array(node) : nullptr;
    }

    void take_shapes() {
        constexpr guint corners_of_area = 8;
        constexpr guint corners_of_zone = 4;
        JsonNode* corners = json_object_get_member(file, "corners");
        if (corners == nullptr || json_node_get_value_type(corners) != G_TYPE_INT64)
            throw std::runtime_error("its number of corners is missing");
        add(setting_of(row::control_points).stored, std::to_string(json_node_get_int(corners)));
        take_points(setting_of(row::area), array("area"), corners_of_area);
        JsonArray* zones = array("zones");
        if (zones == nullptr || json_array_get_length(zones) != kExclusionZones.size())
            throw std::runtime_error("its exclusion zones are not three");
        for (guint i = 0; i < kExclusionZones.size(); ++i) {
            JsonNode* zone = json_array_get_element(zones, i);
            take_points(setting_of(kExclusionZones[i].corners),
                        JSON_NODE_HOLDS_ARRAY(zone) ? json_node_get_array(zone) : nullptr, corners_of_zone);
        }
    }
};

} // namespace

std::vector<std::string> parameters_in(const std::string& text, const SettingsTarget& target) {
    g_autoptr(JsonParser) parser = json_parser_new();
    if (json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE)
        throw std::runtime_error("it is not JSON");
    JsonNode* root = json_parser_get_root(parser);
    JsonObject* file = root != nullptr && JSON_NODE_HOLDS_OBJECT(root) ? json_node_get_object(root) : nullptr;
    JsonNode* what = file != nullptr ? json_object_get_member(file, "kind") : nullptr;
    if (what == nullptr || json_node_get_value_type(what) != G_TYPE_STRING ||
        std::string(json_node_get_string(what)) != kind)
        throw std::runtime_error("it is no settings file that the pages have exported");
    ReaderOfFile reader{target, file};
    reader.take_shapes();
    for (const setting& each : kSettings) {
        // The agreement is accepted by a person, not by a file; shapes are taken already.
        if (each.element == nullptr || &each == &setting_of(row::eula) || &each == &setting_of(row::control_points))
            continue;
        if (std::holds_alternative<bool ConfigParams::*>(each.field))
            reader.take_flag(each);
        else if (&each == &setting_of(row::max_disappeared))
            reader.take_seconds_as_passes(each);
        else if (element_names(each).size() == 1)
            reader.add(each.stored, reader.text_of(each));
    }
    return std::move(reader.parameters);
}

} // namespace console
