#pragma once

#include "platform/axoverlay/broadcast.h"
#include "platform/axoverlay/host_answers.h"
#include "platform/axoverlay/listeners.h"
#include "platform/axoverlay/settings.h"
#include "platform/common/handle.h"
#include "platform/common/unix_socket.h"

#include <microhttpd.h>

#include <memory>
#include <optional>
#include <string>

namespace host_overlay {

/**
 * Serves the camera's streams over HTTP, from construction to destruction. One thread (libmicrohttpd's) moves all bytes
 * without ever blocking on a socket; the streams' own threads make the pictures.
 */
class StreamServer {
  public:
    /** Throws std::runtime_error when it cannot listen there. */
    StreamServer(const ListenAddress& listen, int jpeg_quality);
    ~StreamServer();
    StreamServer(const StreamServer&) = delete;
    StreamServer& operator=(const StreamServer&) = delete;

    /** "127.0.0.1:8080", with the port in use where a free one was asked for, or "unix:PATH". */
    const std::string& address() const { return m_address; }

    Listeners& listeners() { return m_listeners; }

  private:
    static MHD_Result answer(void* server, MHD_Connection* connection, const char* path, const char* method,
                             const char* version, const char* upload, std::size_t* upload_size, void** request);
    static void completed(void* server, MHD_Connection* connection, void** request, MHD_RequestTerminationCode code);
    void listen_on(const ListenAddress& listen);
    MHD_Result begin(MHD_Connection* connection, const std::string& path, const std::string& method, void** request);
    /** Answers at once, or begins to show pictures or messages to `viewer` and gives nothing. */
    std::optional<MHD_Result> begin_showing(MHD_Connection* connection, const std::string& path,
                                            const QueryArguments& query, bool head_only,
                                            std::shared_ptr<Viewer>& viewer);

    Listeners m_listeners;
    Broadcasts m_broadcasts;
    std::optional<platform::UnixSocket> m_socket;
    platform::Handle<MHD_Daemon, MHD_stop_daemon> m_daemon;
    std::string m_address;
};

} // namespace host_overlay
