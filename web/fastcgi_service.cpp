#include "web/fastcgi_service.h"

#include "base/logger.h"
#include "base/shared_field.h"
#include "config/parameter_io.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr auto kSocketPath = "/usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";
constexpr int kBacklog = 5;
constexpr size_t kMostFilling = 65536; // bytes; what the web server in front lets through at the most

constexpr timeval kPatience = {5, 0}; // seconds, microseconds; a web server may stall that long on a busy camera
constexpr size_t kPiece = 65536; // bytes; the library prints no piece of a megabyte, and counts in 32 bits
constexpr size_t kSentAtOnce = 32768; // bytes that a socket takes before its client reads; the log alone has more

// Seconds. A web server sends the head of a request at once, and after a minute nobody waits for an answer any more: a
// save on slow storage is what takes longest.
constexpr int kMostForHead = 10;
constexpr int kMostForAnswer = 60;

constexpr auto kPlainText = "Content-Type: text/plain\r\n";
constexpr auto kXml = "Content-Type: text/xml\r\n";

struct uri_deleter {
    void operator()(UriUriA* uri) const { uriFreeUriMembersA(uri); }
};

struct query_deleter {
    void operator()(UriQueryListA* query) const { uriFreeQueryListA(query); }
};

/** A client that does not send its body (SO_RCVTIMEO) or take its answer (SO_SNDTIMEO) must not hold up the others. */
void limit_waiting(int connection, int direction) {
    setsockopt(connection, SOL_SOCKET, direction, &kPatience, sizeof kPatience);
}

/**
 * Ends the connection of a client that holds the service too long, from a thread of its own: libfcgi reads the head of
 * a request before it tells of the connection, and empties a connection before it closes it, both for as long as the
 * client likes; and the patience above begins anew with every byte.
 *
 * libfcgi writes the connection's descriptor without a lock, and a word is read here. One that is closed in the very
 * moment in which its time is up may be another's already; that is one broken connection, and no more.
 */
class client_watch {
  public:
    /** `connection`: the descriptor, -1 for none. */
    explicit client_watch(const int& connection) : m_connection(connection) {
        try {
            m_thread = std::thread([this] { watch(); });
        } catch (const std::system_error&) {
            // Too many threads; without this one the service does what it can.
        }
    }
    ~client_watch() {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_end.notify_all();
        if (m_thread.joinable())
            m_thread.join();
    }
    client_watch(const client_watch&) = delete;
    client_watch& operator=(const client_watch&) = delete;

    /** From now on, a client may stay that long. */
    void allow(int seconds) {
        const std::lock_guard lock(m_mutex);
        m_left = m_allowed = seconds;
    }

  private:
    void watch() {
        std::unique_lock lock(m_mutex);
        while (!m_end.wait_for(lock, std::chrono::seconds(1), [this] { return m_ended; })) {
            const int connection = read_shared(m_connection);
            if (connection < 0)
                m_left = m_allowed;
            else if (--m_left < 0)
                shutdown(connection, SHUT_RDWR);
        }
    }

    const int& m_connection;
    std::mutex m_mutex; // guards the next three
    int m_allowed = kMostForHead;
    int m_left = kMostForHead;
    bool m_ended = false;
    std::condition_variable m_end;
    std::thread m_thread;
};

/** For a child: what ends any process ends it, though this thread has all signals blocked and SIGTERM has a handler. */
void take_signals_as_any_process() {
    std::signal(SIGTERM, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/**
 * Whether FCGX_OpenSocket comes back. libfcgi ends the whole process when it cannot listen, so a child goes first; what
 * the application does at its end is not for the child to do. The child says so itself: where children are ignored, as
 * whoever started the application may have left it, nobody learns of its status.
 */
bool opening_returns() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return true;
    const pid_t child = fork();
    if (child == 0) {
        take_signals_as_any_process();
        std::atexit([] { _exit(1); });
        FCGX_OpenSocket(kSocketPath, kBacklog);
        _exit(::write(ends[1], "", 1) == 1 ? 0 : 1);
    }
    close(ends[1]);
    char said = 0;
    const bool returned = child < 0 || read(ends[0], &said, 1) == 1;
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return returned;
}

} // namespace

// The descriptor stands where libfcgi expects a flag: deliberate, any open socket means that the connection is closed.
fastcgi_service::~fastcgi_service() {
    FCGX_Free(&m_request, m_sock);
}

int fastcgi_service::init() {
    g_Logger.info(std::string("init: Socket: ") + kSocketPath);
    if (FCGX_Init() != 0) {
        g_Logger.error("init: FCGX_Init failed");
        return 1;
    }
    m_sock = opening_returns() ? FCGX_OpenSocket(kSocketPath, kBacklog) : -1; // accepting on it will tell
    chmod(kSocketPath, 0777);                                                 // the web server is another user
    if (FCGX_InitRequest(&m_request, m_sock, 0) != 0) {
        g_Logger.error("init: FCGX_InitRequest failed");
        FCGX_Free(&m_request, m_sock);
        return 1;
    }
    return 0;
}

int fastcgi_service::run() {
    client_watch watch(m_request.ipcFd);
    while (FCGX_Accept_r(&m_request) == 0) {
        watch.allow(kMostForAnswer);
        try {
            serve();
        } catch (const std::bad_alloc&) {
            // Too long a body, or answer, for this machine: the next accept finishes the request as it stands.
        }
        watch.allow(kMostForHead);
    }
    return 0;
}

void fastcgi_service::serve() {
    const char* request_uri = FCGX_GetParam("REQUEST_URI", m_request.envp);
    const char* method = FCGX_GetParam("REQUEST_METHOD", m_request.envp);

    // The two refusals leave the request to be finished by the next accept.
    UriUriA uri;
    if (request_uri == nullptr || uriParseSingleUriA(&uri, request_uri, nullptr) != URI_SUCCESS) {
        write("Failed to parse URI");
        return;
    }
    const std::unique_ptr<UriUriA, uri_deleter> owned_uri(&uri);

    UriQueryListA* items = nullptr;
    int count = 0;
    if (uriDissectQueryMallocA(&items, &count, uri.query.first, uri.query.afterLast) != URI_SUCCESS) {
        write("Failed to parse query");
        return;
    }
    const std::unique_ptr<UriQueryListA, query_deleter> owned_items(items);

    for (UriQueryListA* item = items; item != nullptr; item = item->next)
        if (strcmp(item->key, "action") == 0)
            answer(method != nullptr ? method : "", item);
    FCGX_Finish_r(&m_request);
}

void fastcgi_service::answer(const char* method, UriQueryListStructA* item) {
    if (strcmp(method, "GET") == 0)
        processGET(item);
    else if (strcmp(method, "POST") == 0)
        processPOST(item, get_post_body());
    else
        FCGX_FPrintF(m_request.out, "Only GET and POST supported. Method %s not supported", method);
}

void fastcgi_service::write(const char* text) {
    size_t rest = strlen(text); // a log may have more than 2 GB
    for (; rest > kPiece; rest -= kPiece, text += kPiece)
        FCGX_FPrintF(m_request.out, "%.*s", static_cast<int>(kPiece), text);
    FCGX_FPrintF(m_request.out, "%s", text);
}

int fastcgi_service::processGET(UriQueryListStructA* item) {
    const std::string_view action = item->value != nullptr ? item->value : "";
    parameter_io settings;
    std::string body;
    write("Status: 200 OK\r\n");

    // This action matches here and again below, so that its header goes out twice; deliberate.
    if (action == "get_status_string") {
        write(kPlainText);
        body = settings.get_status_string();
    }
    if (action == "get_status_string") {
        write(kPlainText);
        body = settings.get_status_string();
    } else if (action == "get_execution_time") {
        write(kPlainText);
        body = settings.get_execution_time();
    } else if (action == "get_is_portrait") {
        write(kPlainText);
        body = settings.get_is_portrait();
    } else if (action == "get_status_code") {
        write(kPlainText);
        body = settings.get_status_code();
    } else if (action == "get_all_parameters") {
        write(kXml);
        body = settings.get_parameters();
    } else if (action == "get_logfile_as_plain_text") {
        g_Logger.info("processGET: get_logfile_as_plain_text");
        write(kPlainText);
        body = g_Logger.getPlainLogContents();
    } else if (action == "get_logfile_as_serialized_text") {
        g_Logger.info("processGET: get_logfile_as_plain_text"); // the same line for both forms, deliberately
        write(kPlainText);
        body = g_Logger.getSerializedLogContents();
    } else if (action == "clear_logfile") {
        g_Logger.clear();
        write(kPlainText);
        body = "Log file cleared.";
    }
    if (body.size() > kSentAtOnce)
        limit_waiting(m_request.ipcFd, SO_SNDTIMEO);
    write("\r\n");
    write(body.c_str());
    return 0;
}

int fastcgi_service::processPOST(UriQueryListStructA* item, std::string body) {
    const std::string_view action = item->value != nullptr ? item->value : "";
    if (action == "set_post_parameters") {
        try {
            const bool stored = parameter_io().set_post_parameters(std::move(body)) == 0;
            write(stored ? "Status: 200 OK\r\n" : "Status: 400 Bad Request\r\n");
        } catch (...) {
            g_Logger.error("processPOST:  Exception from processPOST trying to set post parameters.");
            return -1;
        }
    }
    write("\r\n"); // and no body
    return 0;
}

std::string fastcgi_service::get_post_body() {
    const char* stated = FCGX_GetParam("CONTENT_LENGTH", m_request.envp);
    const int length = stated != nullptr ? static_cast<int>(strtol(stated, nullptr, 10)) : 0;
    if (length > 0)
        limit_waiting(m_request.ipcFd, SO_RCVTIMEO);
    std::string body;
    size_t filling = 0;
    for (int i = 0; i < length && filling < kMostFilling; ++i) {
        const int byte = FCGX_GetChar(m_request.in);
        if (byte < 0)
            ++filling;
        body.push_back(static_cast<char>(byte & 0xFF));
    }
    return body;
}
