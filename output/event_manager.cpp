#include "output/event_manager.h"

#include "base/logger.h"

#include <glib.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <memory>

namespace {

constexpr auto kNamespace = "tnsaxis";
constexpr const char* kNoNamespace = nullptr;
constexpr const char* kNoMoreKeys = nullptr;

struct key_value_set_deleter {
    void operator()(AXEventKeyValueSet* set) const { ax_event_key_value_set_free(set); }
};
struct event_deleter {
    void operator()(AXEvent* event) const { ax_event_free(event); }
};
using key_value_set_ptr = std::unique_ptr<AXEventKeyValueSet, key_value_set_deleter>;
using event_ptr = std::unique_ptr<AXEvent, event_deleter>;

std::string with_id(const std::string& name, const char* between, uint32_t id) {
    return name + between + std::to_string(id);
}

} // namespace

EventManager::EventManager() : m_pHandler(ax_event_handler_new()) {
    g_Logger.info("EventManager: EventManager constructor called");
}

EventManager::~EventManager() {
    g_Logger.info("~EventManager: EventManager destructor called");
    for (const auto& [name, id] : m_eventDeclarationIDs) {
        if (id == 0)
            continue;
        const std::string event = with_id(name, " : DeclarationID=", id);
        g_Logger.info("~EventManager: EventManager undeclaring event " + event);
        if (ax_event_handler_undeclare(m_pHandler, id, nullptr))
            g_Logger.info("~EventManager: EventManager destructor successfully undeclared event " + event);
        else
            g_Logger.error("~EventManager: EventManager destructor failed to undeclare event " + event);
    }
    g_Logger.info("~EventManager: Going to free the event handler");
    ax_event_handler_free(m_pHandler);
    g_Logger.info("~EventManager: EventManager destructor complete");
}

void EventManager::addEvent(const std::string& name) {
    const std::string key = friendlyToKey(name);
    const gboolean active = FALSE;
    const key_value_set_ptr set(ax_event_key_value_set_new());
    if (!ax_event_key_value_set_add_key_values(
            set.get(), nullptr, "topic0", kNamespace, "CameraApplicationPlatform", AX_VALUE_TYPE_STRING, "topic1",
            kNamespace, "KorvexOrvelApplication", AX_VALUE_TYPE_STRING, "topic2", kNamespace, key.c_str(),
            AX_VALUE_TYPE_STRING, "active", kNoNamespace, &active, AX_VALUE_TYPE_BOOL, kNoMoreKeys)) {
        g_Logger.error("addEvent: Error creating key value set for event " + name);
        return;
    }
    // An event whose mark or names are refused still works for rules, so neither stops the declaration.
    ax_event_key_value_set_mark_as_data(set.get(), "active", kNoNamespace, nullptr);
    ax_event_key_value_set_add_nice_names(set.get(), "topic2", kNamespace, "Korvex Orvel", name.c_str(), nullptr);

    guint id = 0;
    if (ax_event_handler_declare(m_pHandler, set.get(), FALSE, &id, nullptr, nullptr, nullptr)) {
        g_Logger.info("addEvent: Successfully declared event " + with_id(name, " : DeclarationID=", id));
    } else {
        id = 0;
        g_Logger.error("addEvent: Failed to declare event " + name);
    }
    registerEvent(name, id);
}

void EventManager::registerEvent(const std::string& name, unsigned int declarationID) {
    m_eventDeclarationIDs[name] = declarationID;
    m_eventStarted[name] = false;
    g_Logger.info("registerEvent: EventManager registering event " +
                  with_id(name, " to DeclarationID=", declarationID));
}

unsigned int EventManager::getDeclarationID(const std::string& name) {
    return m_eventDeclarationIDs[name];
}

bool EventManager::isEventStarted(const std::string& name) {
    return m_eventStarted[name];
}

void EventManager::sendEventStarted(const std::string& name) {
    if (isEventStarted(name))
        return;
    g_Logger.info("sendEventStarted: Starting event " + name);
    sendEvent(name, true);
    m_eventStarted[name] = true;
}

void EventManager::sendEventStopped(const std::string& name) {
    if (!isEventStarted(name))
        return;
    g_Logger.info("sendEventStopped: Stopping event " + name);
    sendEvent(name, false);
    m_eventStarted[name] = false;
}

void EventManager::sendEvent(const std::string& name, bool active) {
    const uint32_t id = getDeclarationID(name);
    if (id == 0) {
        g_Logger.error("sendEvent: No declaration for event " + name);
        return;
    }
    const gboolean value = active ? TRUE : FALSE;
    const key_value_set_ptr set(ax_event_key_value_set_new());
    if (!ax_event_key_value_set_add_key_value(set.get(), "active", kNoNamespace, &value, AX_VALUE_TYPE_BOOL, nullptr)) {
        g_Logger.error("sendEvent: Failed to add active key value to event " + name);
        return;
    }
    g_autoptr(GDateTime) now = g_date_time_new_now_local();
    const event_ptr event(ax_event_new2(set.get(), now));
    if (event == nullptr || !ax_event_handler_send_event(m_pHandler, id, event.get(), nullptr))
        g_Logger.error("sendEvent: Failed to send event " + name + " activeValue=" + (active ? "1" : "0"));
}

std::string EventManager::friendlyToKey(const std::string& name) {
    std::string key;
    std::copy_if(name.begin(), name.end(), std::back_inserter(key),
                 [](unsigned char character) { return std::isalnum(character) != 0; });
    return key;
}
