// The C interface's key-value sets and events, which are sets with a time.
#include "platform/axevent/failure.h"
#include "platform/axevent/key_value_set.h"
#include "platform/axevent/timestamp.h"

#include <cstdarg>

using host_events::ErrorCode;
using host_events::fail;

namespace {

gboolean no_set(GError** error) {
    return fail(error, ErrorCode::argument, "The key-value set is NULL.");
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
    return set == nullptr ? no_set(error) : set->values.add(key, name_space, value, type, error);
}

gboolean ax_event_key_value_set_add_key_values(AXEventKeyValueSet* set, GError** error, const gchar* key, ...) {
    if (set == nullptr)
        return no_set(error);
    if (key == nullptr)
        return fail(error, ErrorCode::argument, "The list of keys is empty.");
    host_events::KeyValueSet grown = set->values; // all of the list or nothing
    gboolean added = TRUE;
    va_list rest;
    va_start(rest, key);
    while (key != nullptr && added != FALSE) {
        // The analyzer does not see va_start through the loop. NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
        const gchar* name_space = va_arg(rest, const gchar*);
        gconstpointer value = va_arg(rest, gconstpointer);
        const int type = va_arg(rest, int);
        added = grown.add(key, name_space, value, type, error);
        if (added != FALSE)
            key = va_arg(rest, const gchar*);
    }
    va_end(rest);
    if (added != FALSE)
        set->values = std::move(grown);
    return added;
}

gboolean ax_event_key_value_set_mark_as_data(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                             GError** error) {
    return set == nullptr ? no_set(error) : set->values.mark_as_data(key, name_space, error);
}

gboolean ax_event_key_value_set_add_nice_names(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                               const gchar* key_nice_name, const gchar* value_nice_name,
                                               GError** error) {
    return set == nullptr ? no_set(error)
                          : set->values.add_nice_names(key, name_space, key_nice_name, value_nice_name, error);
}

AXEvent* ax_event_new2(AXEventKeyValueSet* set, GDateTime* time_stamp) {
    if (set == nullptr) {
        return nullptr; // which sending refuses with an error
    }
    return new AXEvent{set->values, time_stamp == nullptr ? host_events::iso_now() : host_events::iso_time(time_stamp)};
}

void ax_event_free(AXEvent* event) {
    delete event;
}
