#include "platform/axevent/listener.h"

#include <mutex>
#include <utility>

namespace host_events {
namespace {

struct Slot {
    std::mutex mutex;
    Listener listener;
};

/** Never destroyed: the application's own process-wide objects send their last events while the process ends. */
Slot& slot() {
    static Slot* instance = new Slot;
    return *instance;
}

const char* verb(const Occurrence& occurrence) {
    switch (occurrence.what) {
    case Occurrence::What::declared:
        return "declared";
    case Occurrence::What::undeclared:
        return "undeclared";
    case Occurrence::What::event:
        break;
    }
    if (!occurrence.active) {
        return "sent";
    }
    return *occurrence.active ? "started" : "stopped";
}

} // namespace

void set_listener(Listener listener) {
    const std::lock_guard lock(slot().mutex);
    slot().listener = std::move(listener);
}

bool tell_listener(const Occurrence& occurrence) {
    const std::lock_guard lock(slot().mutex);
    if (!slot().listener) {
        return false;
    }
    slot().listener(occurrence);
    return true;
}

std::string console_line(const Occurrence& occurrence) {
    return occurrence.time + " " + occurrence.nice_name + ": " + verb(occurrence);
}

} // namespace host_events
