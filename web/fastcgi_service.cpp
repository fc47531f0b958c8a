#include "web/fastcgi_service.h"

#include "base/logger.h"
#include "config/parameter_io.h"
#include "web/listening_socket.h"

#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace {

constexpr size_t kMostFilling = 65536; // bytes; what the web server in front lets through at the most

constexpr size_t kPiece = 65536;      // bytes; the library prints no piece of a megabyte, and counts in 32 bits
constexpr size_t kSentAtOnce = 32768; // bytes that a socket takes before its client reads; the log alone has more

constexpr auto kPlainText = "Content-Type: text/plain\r\n";
constexpr auto kXml = "Content-Type: text/xml\r\n";

struct uri_deleter {
    void operator()(UriUriA* uri) const { uriFreeUriMembersA(uri); }
};

struct query_deleter {
    void operator()(UriQueryListA* query) const { uriFreeQueryListA(query); }
};

} // namespace

// The descriptor stands where libfcgi expects a flag: deliberate, any open socket means that the connection is closed.
fastcgi_service::~fastcgi_service() {
    FCGX_Free(&m_request, m_sock);
}

int fastcgi_service::init() {
    g_Logger.info(std::string("init: Socket: ") + kListeningSocket);
    if (FCGX_Init() != 0) {
        g_Logger.error("init: FCGX_Init failed");
        return 1;
    }
    m_sock = open_listening_socket(); // when that failed, accepting on it will tell
    if (FCGX_InitRequest(&m_request, m_sock, 0) != 0) {
        g_Logger.error("init: FCGX_InitRequest failed");
        FCGX_Free(&m_request, m_sock);
        return 1;
    }
    return 0;
}

int fastcgi_service::run() {
    client_watch watch(m_request.ipcFd, m_times.head);
    while (FCGX_Accept_r(&m_request) == 0) {
        watch.allow(m_times.answer);
        try {
            serve();
        } catch (const std::bad_alloc&) {
            // Too long a body, or answer, for this machine: the next accept finishes the request as it stands.
        }
        watch.allow(m_times.head);
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
        limit_waiting(m_request.ipcFd, SO_SNDTIMEO, m_times.patience);
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
        limit_waiting(m_request.ipcFd, SO_RCVTIMEO, m_times.patience);
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
