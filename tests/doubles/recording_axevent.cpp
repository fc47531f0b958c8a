#include "tests/doubles/recording_axevent.h"

#include <cstdarg>
#include <memory>
#include <optional>
#include <set>

struct _AXEventHandler {};
struct _AXEventKeyValueSet {
    std::vector<recording_axevent::key_value> keys;
};
struct _AXEvent {
    std::vector<recording_axevent::key_value> keys;
    gint64 unix_time;
};

namespace {

struct service {
    guint last_number = 0;
    std::map<guint, recording_axevent::declaration> declarations;
    std::vector<recording_axevent::sent_event> sent;
    std::set<const void*> live;
};

service& the_service() {
    static auto& instance = *new service; // outlives the process-wide objects, which still call at their end
    return instance;
}

call_recorder& recorder() {
    return recording_axevent::recorder();
}

template <typename Object>
Object* enter(const char* kind, std::unique_ptr<Object> object) {
    recorder().born(kind);
    the_service().live.insert(object.get());
    return object.release();
}

template <typename Object>
void leave(const char* kind, Object* object) {
    if (object == nullptr)
        return;
    if (the_service().live.erase(object) == 0) {
        recorder().misuse(std::string(kind) + " released twice");
        return;
    }
    recorder().died(kind);
    delete object;
}

/** Writes the call down; refuses it when the test says so, or for an object that is not alive. */
bool refuses(const std::string& line, const void* object, GError** error) {
    if (recorder().fails(line, error))
        return true;
    if (the_service().live.contains(object))
        return false;
    if (object != nullptr)
        recorder().misuse(line + ": not a live object");
    set_error(error, 2, "not a live object");
    return true;
}

std::string value_text(gconstpointer value, AXEventValueType type) {
    if (value == nullptr)
        return "(null)";
    switch (type) {
    case AX_VALUE_TYPE_BOOL:
        return *static_cast<const gboolean*>(value) != FALSE ? "true" : "false";
    case AX_VALUE_TYPE_INT:
        return std::to_string(*static_cast<const gint*>(value));
    case AX_VALUE_TYPE_DOUBLE:
        return std::to_string(*static_cast<const gdouble*>(value));
    case AX_VALUE_TYPE_STRING:
    case AX_VALUE_TYPE_ELEMENT:
        break;
    }
    return static_cast<const char*>(value);
}

void add(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space, gconstpointer value,
         AXEventValueType type) {
    set->keys.push_back({.key = key,
                         .name_space = call_line_parts::text(name_space),
                         .value = value_text(value, type),
                         .type = type,
                         .key_nice_name = {},
                         .value_nice_name = {}});
}

recording_axevent::key_value* find(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space) {
    for (auto& each : set->keys)
        if (each.key == key && each.name_space == call_line_parts::text(name_space))
            return &each;
    return nullptr;
}

} // namespace

call_recorder& recording_axevent::recorder() {
    static auto& instance = *new call_recorder; // outlives the process-wide objects, which still call at their end
    return instance;
}

void recording_axevent::reset() {
    recorder().reset();
    the_service().last_number = 0;
    the_service().declarations.clear();
    the_service().sent.clear();
}

std::map<guint, recording_axevent::declaration> recording_axevent::declarations() {
    return the_service().declarations;
}

std::vector<recording_axevent::sent_event> recording_axevent::sent() {
    return the_service().sent;
}

AXEventHandler* ax_event_handler_new(void) {
    return recorder().call("ax_event_handler_new") ? nullptr
                                                   : enter("AXEventHandler", std::make_unique<_AXEventHandler>());
}

void ax_event_handler_free(AXEventHandler* handler) {
    recorder().call("ax_event_handler_free");
    leave("AXEventHandler", handler);
}

gboolean ax_event_handler_declare(AXEventHandler* handler, AXEventKeyValueSet* set, gboolean stateless,
                                  guint* declaration, AXDeclarationCompleteCallback callback, gpointer,
                                  GError** error) {
    if (refuses(call_line("ax_event_handler_declare", stateless), handler, error))
        return FALSE;
    *declaration = ++the_service().last_number;
    the_service().declarations[*declaration] = {set->keys, stateless != FALSE, callback != nullptr};
    return TRUE;
}

gboolean ax_event_handler_undeclare(AXEventHandler* handler, guint declaration, GError** error) {
    if (refuses(call_line("ax_event_handler_undeclare", declaration), handler, error))
        return FALSE;
    if (the_service().declarations.erase(declaration) == 1)
        return TRUE;
    set_error(error, 3, "not declared");
    return FALSE;
}

gboolean ax_event_handler_send_event(AXEventHandler* handler, guint declaration, AXEvent* event, GError** error) {
    if (refuses(call_line("ax_event_handler_send_event", declaration), handler, error))
        return FALSE;
    if (!the_service().declarations.contains(declaration)) {
        set_error(error, 3, "not declared");
        return FALSE;
    }
    the_service().sent.push_back({declaration, event->keys, event->unix_time});
    return TRUE;
}

AXEventKeyValueSet* ax_event_key_value_set_new(void) {
    return recorder().call("ax_event_key_value_set_new")
               ? nullptr
               : enter("AXEventKeyValueSet", std::make_unique<_AXEventKeyValueSet>());
}

void ax_event_key_value_set_free(AXEventKeyValueSet* set) {
    recorder().call("ax_event_key_value_set_free");
    leave("AXEventKeyValueSet", set);
}

gboolean ax_event_key_value_set_add_key_value(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                              gconstpointer value, AXEventValueType type, GError** error) {
    if (refuses(call_line("ax_event_key_value_set_add_key_value", key, name_space, value_text(value, type),
                          static_cast<int>(type)),
                set, error))
        return FALSE;
    add(set, key, name_space, value, type);
    return TRUE;
}

gboolean ax_event_key_value_set_add_key_values(AXEventKeyValueSet* set, GError** error, const gchar* key, ...) {
    if (refuses(call_line("ax_event_key_value_set_add_key_values", key), set, error))
        return FALSE;
    va_list more;
    va_start(more, key);
    while (key != nullptr) {
        const auto* name_space = va_arg(more, const gchar*);
        const auto* value = va_arg(more, gconstpointer);
        const auto type = static_cast<AXEventValueType>(va_arg(more, int));
        add(set, key, name_space, value, type);
        key = va_arg(more, const gchar*);
    }
    va_end(more);
    return TRUE;
}

gboolean ax_event_key_value_set_mark_as_data(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                             GError** error) {
    if (refuses(call_line("ax_event_key_value_set_mark_as_data", key, name_space), set, error))
        return FALSE;
    auto* found = find(set, key, name_space);
    if (found != nullptr)
        found->is_data = true;
    return found != nullptr;
}

gboolean ax_event_key_value_set_add_nice_names(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                               const gchar* key_nice_name, const gchar* value_nice_name,
                                               GError** error) {
    if (refuses(call_line("ax_event_key_value_set_add_nice_names", key, name_space, key_nice_name, value_nice_name),
                set, error))
        return FALSE;
    auto* found = find(set, key, name_space);
    if (found == nullptr)
        return FALSE;
    found->key_nice_name = call_line_parts::text(key_nice_name);
    found->value_nice_name = call_line_parts::text(value_nice_name);
    return TRUE;
}

AXEvent* ax_event_new2(AXEventKeyValueSet* set, GDateTime* time_stamp) {
    if (refuses("ax_event_new2", set, nullptr))
        return nullptr;
    const gint64 unix_time = time_stamp != nullptr ? g_date_time_to_unix(time_stamp) : 0;
    return enter("AXEvent", std::make_unique<_AXEvent>(_AXEvent{set->keys, unix_time}));
}

void ax_event_free(AXEvent* event) {
    recorder().call("ax_event_free");
    leave("AXEvent", event);
}
