#pragma once

#include "platform/axoverlay/viewer.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host_overlay {

/** Who gets the server-sent events. Each waits as a viewer does, with a mailbox of one message. Any thread. */
class Listeners {
  public:
    void join(const std::shared_ptr<Viewer>& listener);
    bool empty();
    void tell(const std::string& line);
    /** Ends them all; who joins later is ended at once. */
    void stop();

  private:
    void forget_ended();

    std::mutex m_lock; // guards the rest; taken before a viewer's lock
    std::vector<std::shared_ptr<Viewer>> m_all;
    bool m_stopped = false;
};

} // namespace host_overlay
