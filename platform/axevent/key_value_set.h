#pragma once

#include <axsdk/axevent.h>

#include <string>
#include <variant>
#include <vector>

namespace host_events {

/** An element is kept as its text. */
using Value = std::variant<gint, bool, double, std::string>;

struct KeyValue {
    std::string key;
    std::string name_space; // empty: none
    AXEventValueType type = AX_VALUE_TYPE_INT;
    Value value;
    bool is_data = false;
    std::string key_nice_name{};   // empty: none
    std::string value_nice_name{}; // empty: none
};

/**
 * The keys of a declaration or an event in the order in which they were added, with copies of their values. A key is
 * known by its name and its name space together; no name space and an empty one are the same. Not thread-safe.
 *
 * The methods take what the C interface takes: a NULL or malformed argument is a failure, which throws a Failure and
 * changes nothing.
 */
class KeyValueSet {
  public:
    /**
     * `value` points at a gint, a gboolean, a gdouble or, for a string or an element, is the text itself (UTF-8).
     * `type` is a plain int, so that a number which is no type can be told.
     */
    void add(const gchar* key, const gchar* name_space, gconstpointer value, int type);
    void mark_as_data(const gchar* key, const gchar* name_space);
    /** A NULL nice name leaves the one that is there. */
    void add_nice_names(const gchar* key, const gchar* name_space, const gchar* key_nice_name,
                        const gchar* value_nice_name);

    /** Takes over the values of `event`. Each of its keys must be here already, with the same type. */
    void update(const KeyValueSet& event);

    const std::vector<KeyValue>& entries() const { return m_entries; }
    const KeyValue* find(const std::string& key, const std::string& name_space) const;

  private:
    KeyValue* find_own(const std::string& key, const std::string& name_space);
    KeyValue& known(const gchar* key, const gchar* name_space);

    std::vector<KeyValue> m_entries;
};

} // namespace host_events

struct _AXEventKeyValueSet {
    host_events::KeyValueSet values;
};

struct _AXEvent {
    host_events::KeyValueSet values;
    std::string time; // ISO 8601
};
