#include "platform/axoverlay/viewer.h"

#include "platform/axoverlay/http_response.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace host_overlay {
namespace {

/** What the connection's body is read through; lives as long as the response. */
using Reading = std::shared_ptr<Viewer>;

constexpr std::size_t read_size = 65536;

} // namespace

void Viewer::resume() {
    if (m_suspended) {
        m_suspended = false;
        MHD_resume_connection(m_connection);
    }
}

void Viewer::deliver(const std::shared_ptr<const EncodedPicture>& picture) {
    const annotated_lock lock(m_lock);
    if (m_done || m_ended || !picture->complete)
        return;
    m_next = picture;
    resume();
}

void Viewer::fail(const std::string& why) {
    const annotated_lock lock(m_lock);
    if (m_done || m_served || m_next != nullptr)
        return;
    m_failure = why;
    resume();
}

void Viewer::end() {
    const annotated_lock lock(m_lock);
    if (!m_done) {
        m_ended = true;
        resume();
    }
}

bool Viewer::done() {
    const annotated_lock lock(m_lock);
    return m_done;
}

void Viewer::leave() {
    const annotated_lock lock(m_lock);
    m_done = true;
    m_suspended = false;
    m_next.reset();
}

bool Viewer::suspend_until_ready() {
    const annotated_lock lock(m_lock);
    if (ready())
        return false;
    m_suspended = true;
    MHD_suspend_connection(m_connection);
    return true;
}

MHD_Response* Viewer::response(unsigned& status) {
    const annotated_lock lock(m_lock);
    if (m_next == nullptr) {
        status = MHD_HTTP_SERVICE_UNAVAILABLE;
        m_done = true;
        return text_response(m_failure.empty() ? "The server is stopping." : m_failure);
    }
    status = MHD_HTTP_OK;
    m_served = true;
    if (m_wish != Wish::one_picture) {
        const auto read_from = [](void* reading, uint64_t, char* buffer, std::size_t size) {
            return (*static_cast<Reading*>(reading))->read(buffer, size);
        };
        const auto release = [](void* reading) { delete static_cast<Reading*>(reading); };
        const char* type = m_wish == Wish::messages ? event_stream_type : multipart_type;
        return streamed_response(read_from, read_size, new Reading(shared_from_this()), release, type);
    }
    m_done = true;
    auto* kept = new std::shared_ptr<const EncodedPicture>(std::exchange(m_next, nullptr));
    const auto release = [](void* picture) { delete static_cast<std::shared_ptr<const EncodedPicture>*>(picture); };
    auto* jpeg = const_cast<std::uint8_t*>((*kept)->part.data() + (*kept)->jpeg_begin); // is only read
    return typed_response(
        MHD_create_response_from_buffer_with_free_callback_cls((*kept)->jpeg_size, jpeg, release, kept), jpeg_type);
}

ssize_t Viewer::read(char* buffer, std::size_t size) {
    if (m_current == nullptr || m_sent == m_current->part.size()) {
        const annotated_lock lock(m_lock);
        m_current = std::exchange(m_next, nullptr);
        m_sent = 0;
        if (m_current == nullptr) {
            if (m_ended)
                return MHD_CONTENT_READER_END_OF_STREAM;
            m_suspended = true;
            MHD_suspend_connection(m_connection);
            return 0;
        }
    }
    const std::size_t count = std::min(size, m_current->part.size() - m_sent);
    std::memcpy(buffer, m_current->part.data() + m_sent, count);
    m_sent += count;
    return static_cast<ssize_t>(count);
}

} // namespace host_overlay
