#include "platform/axevent/key_value_set.h"

#include "platform/axevent/failure.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace host_events {
namespace {

std::string text_of(const gchar* text) {
    return text == nullptr ? std::string() : std::string(text);
}

std::string quoted(const std::string& key, const std::string& name_space) {
    return "'" + (name_space.empty() ? key : name_space + ":" + key) + "'";
}

/** NULL names are left to the caller: they mean something else in each place. */
bool is_utf8(const gchar* text) {
    return text == nullptr || g_utf8_validate(text, -1, nullptr) != FALSE;
}

std::optional<Value> copy_value(gconstpointer value, int type) {
    switch (type) {
    case AX_VALUE_TYPE_INT:
        return Value(*static_cast<const gint*>(value));
    case AX_VALUE_TYPE_BOOL:
        return Value(*static_cast<const gboolean*>(value) != FALSE);
    case AX_VALUE_TYPE_DOUBLE:
        return Value(*static_cast<const gdouble*>(value));
    case AX_VALUE_TYPE_STRING:
    case AX_VALUE_TYPE_ELEMENT:
        return Value(std::string(static_cast<const gchar*>(value)));
    default:
        return std::nullopt;
    }
}

} // namespace

gboolean KeyValueSet::add(const gchar* key, const gchar* name_space, gconstpointer value, int type, GError** error) {
    if (key == nullptr || *key == '\0' || !is_utf8(key) || !is_utf8(name_space))
        return fail(error, ErrorCode::argument, "A key and its name space are UTF-8 text, and the key is not empty.");
    const std::string name = quoted(key, text_of(name_space));
    if (value == nullptr)
        return fail(error, ErrorCode::argument, "The key " + name + " has no value.");
    std::optional<Value> copy = copy_value(value, type);
    if (!copy)
        return fail(error, ErrorCode::argument,
                    "The key " + name + " has the value type " + std::to_string(type) + ", which does not exist.");
    if (const auto* text = std::get_if<std::string>(&*copy); text != nullptr && !is_utf8(text->c_str()))
        return fail(error, ErrorCode::argument, "The value of the key " + name + " is not UTF-8 text.");
    if (find(key, text_of(name_space)) != nullptr)
        return fail(error, ErrorCode::duplicate_key, "The set has the key " + name + " already.");
    KeyValue entry;
    entry.key = key;
    entry.name_space = text_of(name_space);
    entry.type = static_cast<AXEventValueType>(type);
    entry.value = std::move(*copy);
    m_entries.push_back(std::move(entry));
    return TRUE;
}

gboolean KeyValueSet::mark_as_data(const gchar* key, const gchar* name_space, GError** error) {
    KeyValue* entry = find_or_fail(key, name_space, error);
    if (entry == nullptr)
        return FALSE;
    entry->is_data = true;
    return TRUE;
}

gboolean KeyValueSet::add_nice_names(const gchar* key, const gchar* name_space, const gchar* key_nice_name,
                                     const gchar* value_nice_name, GError** error) {
    KeyValue* entry = find_or_fail(key, name_space, error);
    if (entry == nullptr)
        return FALSE;
    if (!is_utf8(key_nice_name) || !is_utf8(value_nice_name))
        return fail(error, ErrorCode::argument, "A nice name is UTF-8 text.");
    if (key_nice_name != nullptr)
        entry->key_nice_name = key_nice_name;
    if (value_nice_name != nullptr)
        entry->value_nice_name = value_nice_name;
    return TRUE;
}

gboolean KeyValueSet::update(const KeyValueSet& event, GError** error) {
    for (const KeyValue& sent : event.m_entries) {
        const KeyValue* declared = find(sent.key, sent.name_space);
        if (declared == nullptr)
            return fail(error, ErrorCode::unknown_key,
                        "The declaration has no key " + quoted(sent.key, sent.name_space) + ".");
        if (declared->type != sent.type)
            return fail(error, ErrorCode::wrong_type,
                        "The key " + quoted(sent.key, sent.name_space) + " is declared with another value type.");
    }
    for (const KeyValue& sent : event.m_entries)
        find_own(sent.key, sent.name_space)->value = sent.value;
    return TRUE;
}

const KeyValue* KeyValueSet::find(const std::string& key, const std::string& name_space) const {
    const auto found = std::ranges::find_if(
        m_entries, [&](const KeyValue& entry) { return entry.key == key && entry.name_space == name_space; });
    return found == m_entries.end() ? nullptr : &*found;
}

KeyValue* KeyValueSet::find_own(const std::string& key, const std::string& name_space) {
    return const_cast<KeyValue*>(find(key, name_space));
}

KeyValue* KeyValueSet::find_or_fail(const gchar* key, const gchar* name_space, GError** error) {
    if (key == nullptr) {
        fail(error, ErrorCode::argument, "The key is NULL.");
        return nullptr;
    }
    KeyValue* entry = find_own(key, text_of(name_space));
    if (entry == nullptr)
        fail(error, ErrorCode::unknown_key, "The set has no key " + quoted(key, text_of(name_space)) + ".");
    return entry;
}

} // namespace host_events
