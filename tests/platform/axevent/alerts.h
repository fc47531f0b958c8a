#pragma once

#include <axsdk/axevent.h>

#include <memory>
#include <string>

struct FreeSet {
    void operator()(AXEventKeyValueSet* set) const { ax_event_key_value_set_free(set); }
};
struct FreeEvent {
    void operator()(AXEvent* event) const { ax_event_free(event); }
};
struct FreeHandler {
    void operator()(AXEventHandler* handler) const { ax_event_handler_free(handler); }
};
using Set = std::unique_ptr<AXEventKeyValueSet, FreeSet>;
using Event = std::unique_ptr<AXEvent, FreeEvent>;
using Handler = std::unique_ptr<AXEventHandler, FreeHandler>;

inline Set new_set() {
    return Set(ax_event_key_value_set_new());
}
inline Handler new_handler() {
    return Handler(ax_event_handler_new());
}

/** An alert's declaration as the application makes it; `key` is its last topic level. */
inline Set alert_set(const char* key, const char* nice_name) {
    Set set = new_set();
    const gboolean inactive = FALSE;
    ax_event_key_value_set_add_key_values(set.get(), nullptr, "topic0", "tnsaxis", "CameraApplicationPlatform",
                                          AX_VALUE_TYPE_STRING, "topic1", "tnsaxis", "KorvexOrvelApplication",
                                          AX_VALUE_TYPE_STRING, "topic2", "tnsaxis", key, AX_VALUE_TYPE_STRING,
                                          "active", nullptr, &inactive, AX_VALUE_TYPE_BOOL, nullptr);
    ax_event_key_value_set_mark_as_data(set.get(), "active", nullptr, nullptr);
    ax_event_key_value_set_add_nice_names(set.get(), "topic2", "tnsaxis", "Korvex Orvel", nice_name, nullptr);
    return set;
}

/** 0 when it fails. */
inline guint declare(const Handler& handler, const Set& set, GError** error = nullptr) {
    guint id = 0;
    ax_event_handler_declare(handler.get(), set.get(), FALSE, &id, nullptr, nullptr, error);
    return id;
}

/** `time`: ISO 8601 with a zone; NULL for now. */
inline Event active_event(bool active, const char* time = nullptr) {
    Set set = new_set();
    const gboolean value = active ? TRUE : FALSE;
    ax_event_key_value_set_add_key_value(set.get(), "active", nullptr, &value, AX_VALUE_TYPE_BOOL, nullptr);
    g_autoptr(GDateTime) stamp = time == nullptr ? nullptr : g_date_time_new_from_iso8601(time, nullptr);
    return Event(ax_event_new2(set.get(), stamp));
}

inline bool send(const Handler& handler, guint id, bool active, const char* time = nullptr, GError** error = nullptr) {
    return ax_event_handler_send_event(handler.get(), id, active_event(active, time).get(), error) != FALSE;
}
