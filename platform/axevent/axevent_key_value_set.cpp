// The C interface's key-value sets and events, which are sets with a time.
#include "platform/axevent/failure.h"
#include "platform/axevent/key_value_set.h"
#include "platform/axevent/timestamp.h"

#include <cstdarg>

using host_events::ErrorCode;
using host_events::fail;
using host_events::KeyValueSet;

namespace {

/** What an entry point does with the values of its set. */
template <typename Body>
gboolean with(AXEventKeyValueSet* set, GError** error, Body body) {
    return host_events::guarded(error, [&] {
        if (set == nullptr)
            fail(ErrorCode::argument, "The key-value set is NULL.");
        body(set->values);
    });
}

} // namespace

AXEventKeyValueSet* ax_event_key_value_set_new(void) {
    return new AXEventKeyValueSet;
}

void ax_event_key_value_set_free(AXEventKeyValueSet* set) {
    delete set;
}

gboolean ax_event_key_value_set_add_key_value(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                              gconstpointer value, AXEventValueType type, GError** error) {
    return with(set, error, [&](KeyValueSet& values) { values.add(key, name_space, value, type); });
}

gboolean ax_event_key_value_set_add_key_values(AXEventKeyValueSet* set, GError** error, const gchar* key, ...) {
    va_list rest;
    va_start(rest, key);
    const gboolean added = with(set, error, [&](KeyValueSet& values) {
        if (key == nullptr)
            fail(ErrorCode::argument, "The list of keys is empty.");
        KeyValueSet grown = values; // all of the list or nothing
        for (const gchar* next = key; next != nullptr; next = va_arg(rest, const gchar*)) {
            const gchar* name_space = va_arg(rest, const gchar*);
            gconstpointer value = va_arg(rest, gconstpointer);
            grown.add(next, name_space, value, va_arg(rest, int));
        }
        values = std::move(grown);
    });
    va_end(rest);
    return added;
}

gboolean ax_event_key_value_set_mark_as_data(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                             GError** error) {
    return with(set, error, [&](KeyValueSet& values) { values.mark_as_data(key, name_space); });
}

gboolean ax_event_key_value_set_add_nice_names(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                               const gchar* key_nice_name, const gchar* value_nice_name,
                                               GError** error) {
    return with(set, error,
                [&](KeyValueSet& values) { values.add_nice_names(key, name_space, key_nice_name, value_nice_name); });
}

AXEvent* ax_event_new2(AXEventKeyValueSet* set, GDateTime* time_stamp) {
    if (set == nullptr)
        return nullptr; // which sending refuses with an error
    return new AXEvent{set->values, time_stamp == nullptr ? host_events::iso_now() : host_events::iso_time(time_stamp)};
}

void ax_event_free(AXEvent* event) {
    delete event;
}
