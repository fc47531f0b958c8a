#pragma once

#include "base/thread_safety.h"

#include <microhttpd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host_overlay {

/** One encoded picture as a part of the multipart stream, or one message of an event stream, shared by all. */
struct EncodedPicture {
    std::vector<std::uint8_t> part; // boundary, part headers, JPEG file, line end
    std::size_t jpeg_begin = 0;
    std::size_t jpeg_size = 0;
    bool complete = false; // nothing is missing in it that is about to come: fit to be seen
};

/**
 * One HTTP connection that waits for pictures. The encoding thread leaves each picture in a mailbox of one, which the
 * server's thread empties when the connection takes more; a slow viewer thus finds the newest and has lost the rest.
 *
 * While there is nothing to send the connection is suspended, so that it costs nothing:
 *
 *     sending --mailbox empty--> suspended --picture, failure or end--> sending
 */
class Viewer : public std::enable_shared_from_this<Viewer> {
  public:
    enum class Wish { one_picture, all_pictures, messages };

    Viewer(MHD_Connection* connection, Wish wish) : m_connection(connection), m_wish(wish) {}

    // Encoding thread; each takes the viewer's own short lock.
    /** Ignored when it is not complete. */
    void deliver(const std::shared_ptr<const EncodedPicture>& picture);
    /** Nothing will come, or not soon. Ignored by a viewer that has had a picture. */
    void fail(const std::string& why);
    /** No more pictures: the response ends. */
    void end();
    /** It takes no more pictures: served, refused or closed. */
    bool done();

    // Server's thread.
    /** Suspends the connection until response() has something; false when it has already. */
    bool suspend_until_ready();
    /** The answer to the request, to be queued and destroyed by the caller. REQUIRES: ready. */
    MHD_Response* response(unsigned& status);
    /** The connection is closed; it is not touched any more. */
    void leave();
    /**
     * Copies the next bytes of the endless stream: their number, 0 (then suspended) or
     * MHD_CONTENT_READER_END_OF_STREAM.
     */
    ssize_t read(char* buffer, std::size_t size);

  private:
    bool ready() const REQUIRES(m_lock) { return m_ended || !m_failure.empty() || m_next != nullptr; }
    void resume() REQUIRES(m_lock);

    MHD_Connection* const m_connection;
    const Wish m_wish;

    // Server's thread only.
    std::shared_ptr<const EncodedPicture> m_current;
    std::size_t m_sent = 0; // bytes of m_current

    annotated_mutex m_lock;
    std::shared_ptr<const EncodedPicture> m_next GUARDED_BY(m_lock);
    std::string m_failure GUARDED_BY(m_lock);
    bool m_served GUARDED_BY(m_lock) = false;
    bool m_suspended GUARDED_BY(m_lock) = false;
    bool m_ended GUARDED_BY(m_lock) = false;
    bool m_done GUARDED_BY(m_lock) = false;
};

} // namespace host_overlay
