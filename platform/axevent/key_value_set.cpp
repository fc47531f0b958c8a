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

void KeyValueSet::add(const gchar* key, const gchar* name_space, gconstpointer value, int type) {
    if (key == nullptr || *key == '\0' || !is_utf8(key) || !is_utf8(name_space))
        fail(ErrorCode::argument, "A key and its name space are UTF-8 text, and the key is not empty.");
    const std::string name = quoted(key, text_of(name_space));
    if (value == nullptr)
        fail(ErrorCode::argument, "The key " + name + " has no value.");
    std::optional<Value> copy = copy_value(value, type);
    if (!copy)
        fail(ErrorCode::argument,
             "The key " + name + " has the value type " + std::to_string(type) + ", which does not exist.");
    if (const auto* text = std::get_if<std::string>(&*copy); text != nullptr && !is_utf8(text->c_str()))
        fail(ErrorCode::argument, "The value of the key " + name + " is not UTF-8 text.");
    if (find(key, text_of(name_space)) != nullptr)
        fail(ErrorCode::duplicate_key, "The set has the key " + name + " already.");
    m_entries.push_back({key, text_of(name_space), static_cast<AXEventValueType>(type), std::move(*copy)});
}

void KeyValueSet::mark_as_data(const gchar* key, const gchar* name_space) {
    known(key, name_space).is_data = true;
}

void KeyValueSet::add_nice_names(const gchar* key, const gchar* name_space, const gchar* key_nice_name,
                                 const gchar* value_nice_name) {
    KeyValue& entry = known(key, name_space);
    if (!is_utf8(key_nice_name) || !is_utf8(value_nice_name))
        fail(ErrorCode::argument, "A nice name is UTF-8 text.");
    if (key_nice_name != nullptr)
        entry.key_nice_name = key_nice_name;
    if (value_nice_name != nullptr)
        entry.value_nice_name = value_nice_name;
}

void KeyValueSet::update(const KeyValueSet& event) {
    for (const KeyValue& sent : event.m_entries) {
        const KeyValue* declared = find(sent.key, sent.name_space);
        const std::string name = quoted(sent.key, sent.name_space);
        if (declared == nullptr)
            fail(ErrorCode::unknown_key, "The declaration has no key " + name + ".");
        if (declared->type != sent.type)
            fail(ErrorCode::wrong_type, "The key " + name + " is declared with another value type.");
    }
    for (const KeyValue& sent : event.m_entries)
        find_own(sent.key, sent.name_space)->value = sent.value;
}

const KeyValue* KeyValueSet::find(const std::string& key, const std::string& name_space) const {
    const auto found = std::ranges::find_if(
        m_entries, [&](const KeyValue& entry) { return entry.key == key && entry.name_space == name_space; });
    return found == m_entries.end() ? nullptr : &*found;
}

KeyValue* KeyValueSet::find_own(const std::string& key, const std::string& name_space) {
    return const_cast<KeyValue*>(find(key, name_space));
}

KeyValue& KeyValueSet::known(const gchar* key, const gchar* name_space) {
    if (key == nullptr)
        fail(ErrorCode::argument, "The key is NULL.");
    KeyValue* entry = find_own(key, text_of(name_space));
    if (entry == nullptr)
        fail(ErrorCode::unknown_key, "The set has no key " + quoted(key, text_of(name_space)) + ".");
    return *entry;
}

} // namespace host_events
