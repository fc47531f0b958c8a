#pragma once

#include <axsdk/axevent.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>

// The alerts' events, as the platform and its users see them.
inline constexpr const char* kFirstAlert = "Korvex Orvel First Alert";
inline constexpr const char* kSecondAlert = "Korvex Orvel Second Alert";
inline constexpr const char* kThirdAlert = "Korvex Orvel Third Alert";
/** The lowest first. */
inline constexpr std::array<const char*, 3> kAlertNames = {kFirstAlert, kSecondAlert, kThirdAlert};

/**
 * Publishes the alerts as stateful events of the camera's event service, where its own rules can act on them.
 *
 * An event is declared once and then started and stopped in alternation; asking for the state it is in already is free.
 * The topic is CameraApplicationPlatform/KorvexOrvelApplication/<key of the name> in the namespace tnsaxis, with one
 * data key, `active`.
 *
 * Failures of the service are told in the log and nowhere else; the started flag follows the requests, not the
 * service's answers. Main thread only.
 */
class EventManager {
  public:
    EventManager();
    /** Undeclares what is declared. */
    ~EventManager();
    EventManager(const EventManager&) = delete;
    EventManager& operator=(const EventManager&) = delete;

    /** Declares the event, stopped. One that cannot be declared is registered with the id 0. */
    void addEvent(const std::string& name);

    /** Notes the id, and the event as stopped. */
    void registerEvent(const std::string& name, unsigned int declarationID);

    /** 0 when the event is not declared. */
    unsigned int getDeclarationID(const std::string& name);
    bool isEventStarted(const std::string& name);

    void sendEventStarted(const std::string& name);
    void sendEventStopped(const std::string& name);

    /** Tells the service the event's state, stamped with the local time of now. */
    void sendEvent(const std::string& name, bool active);

    /** The letters and digits of `name`, for topics. */
    static std::string friendlyToKey(const std::string& name);

  public:
    AXEventHandler* m_pHandler;
    // By name. Looking a name up adds it, with 0 and false.
    std::map<std::string, uint32_t> m_eventDeclarationIDs; // 0: not declared
    std::map<std::string, bool> m_eventStarted;
};

/** Null until start-up makes it. */
extern EventManager* g_EventManager;
