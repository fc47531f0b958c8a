#include "platform/axoverlay/stream_server.h"

#include "base/blocked_signals.h"
#include "platform/axoverlay/answers.h"
#include "platform/axoverlay/http_response.h"
#include "platform/axoverlay/priority.h"
#include "platform/axoverlay/resolutions.h"
#include "platform/axoverlay/stream_request.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

namespace host_overlay {
namespace {

constexpr unsigned most_connections = 64;
/** A viewer that takes no byte for so long is given up. */
constexpr unsigned stalled_seconds = 30;

/** What a connection holds between the calls of answer(): nothing at first, then that its head was read, then more. */
struct Request {
    std::shared_ptr<Viewer> viewer;
};

MHD_Result queue(MHD_Connection* connection, unsigned status, MHD_Response* response) {
    if (response == nullptr)
        return MHD_NO;
    AnswerBook::instance().add_headers(response);
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result queue_answer_of(Viewer& viewer, MHD_Connection* connection) {
    unsigned status = 0;
    MHD_Response* response = viewer.response(status);
    return queue(connection, status, response);
}

MHD_Result collect(void* arguments, MHD_ValueKind, const char* key, const char* value) {
    static_cast<QueryArguments*>(arguments)->emplace_back(key, value != nullptr ? value : "");
    return MHD_YES;
}

MHD_Result refuse_method(MHD_Connection* connection) {
    MHD_Response* response = text_response("The camera's video is read with GET.");
    if (response != nullptr)
        MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    return queue(connection, MHD_HTTP_METHOD_NOT_ALLOWED, response);
}

/** The headers that a GET would have, without opening a stream for them. */
MHD_Result answer_head(MHD_Connection* connection, const char* type) {
    const auto nothing = [](void*, uint64_t, char*, std::size_t) -> ssize_t {
        return MHD_CONTENT_READER_END_OF_STREAM;
    };
    return queue(connection, MHD_HTTP_OK, streamed_response(nothing, 1, nullptr, nullptr, type));
}

} // namespace

StreamServer::StreamServer(const ListenAddress& listen, int jpeg_quality) : m_broadcasts(jpeg_quality) {
    try {
        listen_on(listen);
    } catch (const std::exception& failure) {
        throw std::runtime_error("cannot listen on " + listen.text + ": " + failure.what());
    }
}

void StreamServer::listen_on(const ListenAddress& listen) {
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    std::array<MHD_OptionItem, 2> where{{{MHD_OPTION_END, 0, nullptr}, {MHD_OPTION_END, 0, nullptr}}};
    if (listen.path.empty()) {
        flags |= listen.address.ss_family == AF_INET6 ? MHD_USE_IPv6 : MHD_NO_FLAG;
        where[0] = {MHD_OPTION_SOCK_ADDR, 0, const_cast<sockaddr_storage*>(&listen.address)}; // is only read
    } else {
        m_socket.emplace(listen.path, SOCK_STREAM);
        where[0] = {MHD_OPTION_LISTEN_SOCKET, m_socket->take(), nullptr};
    }
    int failure = 0;
    const auto start = [&] {
        give_way_to_analysis();
        errno = 0;
        m_daemon.reset(MHD_start_daemon(flags, 0, nullptr, nullptr, answer, this, MHD_OPTION_ARRAY, where.data(),
                                        MHD_OPTION_NOTIFY_COMPLETED, completed, this, MHD_OPTION_CONNECTION_LIMIT,
                                        most_connections, MHD_OPTION_CONNECTION_TIMEOUT, stalled_seconds,
                                        MHD_OPTION_END));
        failure = errno;
    };
    {
        // A thread takes over its maker's niceness and blocked signals: the server's has a maker of its own.
        const blocked_signals blocked;
        std::thread(start).join();
    }
    if (m_daemon == nullptr)
        throw std::runtime_error(std::strerror(failure));
    m_address = listen.text;
    if (listen.path.empty()) {
        const MHD_DaemonInfo* info = MHD_get_daemon_info(m_daemon.get(), MHD_DAEMON_INFO_BIND_PORT);
        m_address = listen.host + ":" + std::to_string(info->port);
    }
}

StreamServer::~StreamServer() {
    // No connection may be suspended when the daemon stops, and none becomes so again: the viewers are ended first.
    m_listeners.stop();
    m_broadcasts.stop();
    m_daemon.reset();
}

MHD_Result StreamServer::answer(void* server, MHD_Connection* connection, const char* path, const char* method,
                                const char*, const char*, std::size_t* upload_size, void** request) {
    if (*request == nullptr) {
        *request = new Request;
        return MHD_YES;
    }
    if (*upload_size != 0) {
        *upload_size = 0;
        return MHD_YES;
    }
    auto* current = static_cast<Request*>(*request);
    if (current->viewer == nullptr)
        return static_cast<StreamServer*>(server)->begin(connection, path, method, request);
    return queue_answer_of(*current->viewer, connection);
}

MHD_Result StreamServer::begin(MHD_Connection* connection, const std::string& path, const std::string& method,
                               void** request) {
    if (method != MHD_HTTP_METHOD_GET && method != MHD_HTTP_METHOD_HEAD)
        return refuse_method(connection);
    std::shared_ptr<Viewer>& viewer = static_cast<Request*>(*request)->viewer;
    QueryArguments query;
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, collect, &query);
    try {
        if (const auto answered = begin_showing(connection, path, query, method == MHD_HTTP_METHOD_HEAD, viewer))
            return *answered;
    } catch (const std::exception& failure) {
        viewer.reset();
        return queue(connection, MHD_HTTP_SERVICE_UNAVAILABLE, text_response(failure.what()));
    }
    return viewer->suspend_until_ready() ? MHD_YES : queue_answer_of(*viewer, connection);
}

std::optional<MHD_Result> StreamServer::begin_showing(MHD_Connection* connection, const std::string& path,
                                                      const QueryArguments& query, bool head_only,
                                                      std::shared_ptr<Viewer>& viewer) {
    if (path == events_path) {
        if (head_only)
            return answer_head(connection, event_stream_type);
        viewer = std::make_shared<Viewer>(connection, Viewer::Wish::messages);
        m_listeners.join(viewer);
        return std::nullopt;
    }
    unsigned status = 0;
    if (const auto other = AnswerBook::instance().answer(path, query, status))
        return queue(connection, status, *other);
    const StreamRequest wanted = parse_stream_request(path, query, channel_resolutions());
    if (wanted.status != MHD_HTTP_OK)
        return queue(connection, wanted.status, text_response(wanted.sentence));
    if (head_only)
        return answer_head(connection, wanted.motion ? multipart_type : jpeg_type);
    const auto wish = wanted.motion ? Viewer::Wish::all_pictures : Viewer::Wish::one_picture;
    viewer = std::make_shared<Viewer>(connection, wish);
    m_broadcasts.join(wanted.geometry, viewer);
    return std::nullopt;
}

void StreamServer::completed(void*, MHD_Connection*, void** request, MHD_RequestTerminationCode) {
    const std::unique_ptr<Request> ended(static_cast<Request*>(*request));
    *request = nullptr;
    if (ended != nullptr && ended->viewer != nullptr)
        ended->viewer->leave();
}

} // namespace host_overlay
