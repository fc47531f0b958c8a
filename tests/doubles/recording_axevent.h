#pragma once

#include "tests/doubles/call_recorder.h"

#include <axsdk/axevent.h>

#include <map>
#include <string>
#include <vector>

/**
 * The event service for a test.
 *
 * Journal lines: "ax_event_handler_new", "ax_event_handler_free", "ax_event_handler_declare STATELESS",
 * "ax_event_handler_undeclare ID", "ax_event_handler_send_event ID", "ax_event_key_value_set_new",
 * "ax_event_key_value_set_free", "ax_event_key_value_set_add_key_value KEY NAMESPACE VALUE TYPE", one
 * "ax_event_key_value_set_add_key_values KEY" a call with its first key,
 * "ax_event_key_value_set_mark_as_data KEY NAMESPACE",
 * "ax_event_key_value_set_add_nice_names KEY NAMESPACE KEYNAME VALUENAME", "ax_event_new2", "ax_event_free". A null
 * text reads "(null)". Kinds of live objects: AXEventHandler, AXEventKeyValueSet, AXEvent.
 *
 * A null handler, set or event is refused with an error. Declarations are numbered from 1.
 */
namespace recording_axevent {

/** One key of a set, its value as text: "true" or "false" for a bool. */
struct key_value {
    std::string key;
    std::string name_space; // "(null)" for none
    std::string value;
    AXEventValueType type;
    bool is_data = false;
    std::string key_nice_name;
    std::string value_nice_name;
};

struct declaration {
    std::vector<key_value> keys; // in the order in which they were added
    bool stateless;
    bool has_callback;
};

struct sent_event {
    guint declaration;
    std::vector<key_value> keys;
    gint64 unix_time; // seconds; 0 when the event was made without a time
};

call_recorder& recorder();

/** Journal, failures, declarations and sent events as at the start. */
void reset();

/** What is declared now, by number. */
std::map<guint, declaration> declarations();

/** Every event that was accepted, in order. */
std::vector<sent_event> sent();

} // namespace recording_axevent
