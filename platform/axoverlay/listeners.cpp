#include "platform/axoverlay/listeners.h"

namespace host_overlay {

void Listeners::join(const std::shared_ptr<Viewer>& listener) {
    const std::lock_guard lock(m_lock);
    if (m_stopped)
        listener->end();
    else
        m_all.push_back(listener);
}

bool Listeners::empty() {
    const std::lock_guard lock(m_lock);
    forget_ended();
    return m_all.empty();
}

void Listeners::tell(const std::string& line) {
    const std::string message = "data: " + line + "\n\n";
    auto part = std::make_shared<EncodedPicture>();
    part->part.assign(message.begin(), message.end());
    part->complete = true;
    const std::lock_guard lock(m_lock);
    forget_ended();
    for (const auto& listener : m_all)
        listener->deliver(part);
}

void Listeners::stop() {
    const std::lock_guard lock(m_lock);
    m_stopped = true;
    for (const auto& listener : m_all)
        listener->end();
    m_all.clear();
}

void Listeners::forget_ended() {
    std::erase_if(m_all, [](const auto& listener) { return listener->done(); });
}

} // namespace host_overlay
