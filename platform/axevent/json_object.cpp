#include "platform/axevent/json_object.h"

namespace host_events {

JsonObjectWriter::JsonObjectWriter() : m_builder(json_builder_new()) {
    json_builder_begin_object(m_builder.get());
}

JsonObjectWriter& JsonObjectWriter::text(const char* name, const std::string& value) {
    json_builder_set_member_name(m_builder.get(), name);
    json_builder_add_string_value(m_builder.get(), value.c_str());
    return *this;
}

JsonObjectWriter& JsonObjectWriter::boolean(const char* name, bool value) {
    json_builder_set_member_name(m_builder.get(), name);
    json_builder_add_boolean_value(m_builder.get(), value ? TRUE : FALSE);
    return *this;
}

JsonObjectWriter& JsonObjectWriter::null(const char* name) {
    json_builder_set_member_name(m_builder.get(), name);
    json_builder_add_null_value(m_builder.get());
    return *this;
}

JsonObjectWriter& JsonObjectWriter::list(const char* name, const std::string& value) {
    json_builder_set_member_name(m_builder.get(), name);
    json_builder_begin_array(m_builder.get());
    json_builder_add_string_value(m_builder.get(), value.c_str());
    json_builder_end_array(m_builder.get());
    return *this;
}

JsonObjectWriter& JsonObjectWriter::begin(const char* name) {
    json_builder_set_member_name(m_builder.get(), name);
    json_builder_begin_object(m_builder.get());
    return *this;
}

JsonObjectWriter& JsonObjectWriter::end() {
    json_builder_end_object(m_builder.get());
    return *this;
}

std::string JsonObjectWriter::finish() {
    json_builder_end_object(m_builder.get());
    g_autoptr(JsonNode) root = json_builder_get_root(m_builder.get());
    g_autofree gchar* text = json_to_string(root, FALSE);
    return text;
}

} // namespace host_events
