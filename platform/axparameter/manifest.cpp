#include "platform/axparameter/manifest.h"

#include "platform/axparameter/failure.h"
#include "platform/common/settings.h"

#include <json-glib/json-glib.h>

#include <optional>
#include <set>
#include <utility>

namespace host_parameters {
namespace {

std::optional<std::string> text_member(JsonObject* object, const char* name) {
    JsonNode* node = json_object_get_member(object, name);
    if (node == nullptr || json_node_get_value_type(node) != G_TYPE_STRING)
        return std::nullopt;
    return json_node_get_string(node);
}

std::optional<double> number_member(JsonObject* object, const char* name) {
    JsonNode* node = json_object_get_member(object, name);
    if (node == nullptr || !JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) == G_TYPE_STRING) {
        return std::nullopt;
    }
    return json_node_get_double(node);
}

std::optional<Kind> kind_named(const std::string& name) {
    const std::pair<const char*, Kind> kinds[] = {{"integer", Kind::integer},
                                                  {"number", Kind::number},
                                                  {"boolean", Kind::boolean},
                                                  {"text", Kind::text},
                                                  {"stream", Kind::stream}};
    for (const auto& [text, kind] : kinds) {
        if (name == text)
            return kind;
    }
    return std::nullopt;
}

std::optional<DeclaredParameter> parameter_from(JsonNode* node) {
    if (!JSON_NODE_HOLDS_OBJECT(node))
        return std::nullopt;
    JsonObject* object = json_node_get_object(node);
    const auto name = text_member(object, "name");
    const auto value = text_member(object, "default");
    const auto kind = kind_named(text_member(object, "kind").value_or(""));
    if (!name || name->empty() || !value || !kind)
        return std::nullopt;
    return DeclaredParameter{*name,
                             *value,
                             *kind,
                             number_member(object, "least"),
                             number_member(object, "most"),
                             text_member(object, "unit").value_or("")};
}

} // namespace

std::string manifest_path() {
    return platform::environment_or("KORVEX_AXPARAMETER_MANIFEST", KORVEX_DEFAULT_MANIFEST);
}

Manifest read_manifest(const std::string& path) {
    const auto refuse = [&](const std::string& reason) {
        fail(ErrorCode::manifest, "The manifest " + path + " " + reason);
    };
    g_autoptr(JsonParser) parser = json_parser_new_immutable();
    g_autoptr(GError) cause = nullptr;
    if (json_parser_load_from_file(parser, path.c_str(), &cause) == FALSE)
        refuse(std::string("cannot be read: ") + cause->message);
    JsonNode* root = json_parser_get_root(parser);
    if (root == nullptr || !JSON_NODE_HOLDS_OBJECT(root))
        refuse("holds no JSON object.");
    JsonObject* object = json_node_get_object(root);
    Manifest result;
    result.package = text_member(object, "package").value_or("");
    if (result.package.empty())
        refuse("names no \"package\".");
    JsonNode* list = json_object_get_member(object, "parameters");
    if (list == nullptr || !JSON_NODE_HOLDS_ARRAY(list))
        refuse("has no array \"parameters\".");
    std::set<std::string> seen;
    JsonArray* array = json_node_get_array(list);
    for (guint i = 0; i < json_array_get_length(array); ++i) {
        auto parameter = parameter_from(json_array_get_element(array, i));
        if (!parameter)
            refuse("has an entry " + std::to_string(i) +
                   " in \"parameters\" that lacks a \"name\", a \"default\" text or a known \"kind\".");
        if (!seen.insert(parameter->name).second)
            refuse("declares \"" + parameter->name + "\" twice.");
        result.parameters.push_back(std::move(*parameter));
    }
    return result;
}

} // namespace host_parameters
