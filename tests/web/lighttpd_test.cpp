// The responder through the web server, with the rules that the application's own web server has.

#include "config/parameter_io.h"
#include "tests/config/posted_document.h"
#include "tests/doubles/recording_vdo.h"
#include "tests/web/endpoint_fixture.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kEndpoint = "/local/korvex_orvel/korvex_orvel_fcgi.cgi";

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

uint16_t free_port() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

/** lighttpd in the current folder's "html", until it is destroyed. */
class running_lighttpd {
  public:
    running_lighttpd() {
        const std::string sources = KORVEX_SOURCE_DIR;
        const std::string rules = sources + "/web/lighttpd";
        std::filesystem::create_directory_symlink(sources + "/html", "html/pages");
        std::filesystem::create_directory_symlink(rules + "/errors", "html/errors");
        std::filesystem::create_directory("html/uploads");
        std::vector<std::string> environment = {
            "KORVEX_WEB_ADDRESS=127.0.0.1",
            "KORVEX_WEB_PORT=" + std::to_string(port),
            "KORVEX_WEB_PID_FILE=" + std::filesystem::current_path().string() + "/lighttpd.pid",
            "KORVEX_WEB_ORIGINS=^$",
            "KORVEX_WEB_HOSTS=^test$",
            "KORVEX_WEB_REFERERS=^$",
            "KORVEX_WEB_PASSWORD_RULES=" + rules + "/none.conf",
            "KORVEX_WEB_TLS_RULES=" + rules + "/none.conf",
            "KORVEX_WEB_RIGHTS=" + rules + "/none.conf",
            "KORVEX_WEB_FOLDER=" + std::filesystem::current_path().string() + "/html"};
        std::vector<std::string> arguments = {"/usr/sbin/lighttpd", "-D", "-f", rules + "/korvex_orvel.conf"};
        posix_spawn_file_actions_t in_folder;
        posix_spawn_file_actions_init(&in_folder);
        posix_spawn_file_actions_addchdir_np(&in_folder, "html");
        EXPECT_EQ(posix_spawn(&m_process, arguments[0].c_str(), &in_folder, nullptr, pointers(arguments).data(),
                              pointers(environment).data()),
                  0);
        posix_spawn_file_actions_destroy(&in_folder);
        for (int tries = 0; tries < 300 && !try_connect(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    ~running_lighttpd() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }
    running_lighttpd(const running_lighttpd&) = delete;
    running_lighttpd& operator=(const running_lighttpd&) = delete;

    /** A connection, to be closed by the caller. */
    std::optional<int> try_connect() const {
        const int connection = socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in address = loopback(port);
        if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return connection;
        close(connection);
        return std::nullopt;
    }

    /** What its descriptors are open on. */
    std::vector<std::string> open_files() const {
        std::vector<std::string> files;
        std::error_code gone; // a descriptor may be closed meanwhile
        for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/fd"))
            files.push_back(std::filesystem::read_symlink(entry, gone).string());
        return files;
    }

    const uint16_t port = free_port();

  private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> all;
        for (std::string& text : texts)
            all.push_back(text.data());
        all.push_back(nullptr);
        return all;
    }

    pid_t m_process = 0;
};

/** Whether the other side has ended the connection. */
bool was_closed(int connection) {
    char byte = 0;
    return recv(connection, &byte, 1, MSG_DONTWAIT | MSG_PEEK) >= 0;
}

struct http_answer {
    std::string status; // the whole first line
    std::vector<std::string> content_types;
    std::string body;
};

bool operator==(const http_answer& a, const http_answer& b) {
    return a.status == b.status && a.content_types == b.content_types && a.body == b.body;
}

void PrintTo(const http_answer& answer, std::ostream* out) {
    *out << answer.status << " " << testing::PrintToString(answer.content_types) << " "
         << testing::PrintToString(answer.body);
}

class LighttpdTest : public EndpointFixture {
  protected:
    LighttpdTest() {
        std::filesystem::create_directory("html");
        service = std::make_unique<running_service>("html/korvex_orvel_fcgi.socket");
        server = std::make_unique<running_lighttpd>();
    }
    ~LighttpdTest() override { server.reset(); }

    /** Sends the bytes and reads until the server ends the connection. */
    std::string exchange(const std::string& bytes) const {
        const std::optional<int> connection = server->try_connect();
        if (!connection)
            return "no connection";
        for (size_t sent = 0; sent < bytes.size();) {
            const ssize_t count = send(*connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                break;
            sent += static_cast<size_t>(count);
        }
        std::string answer;
        char buffer[4096];
        for (ssize_t got = 0; (got = recv(*connection, buffer, sizeof buffer, 0)) > 0;)
            answer.append(buffer, static_cast<size_t>(got));
        close(*connection);
        return answer;
    }

    http_answer ask(const std::string& method, const std::string& query, const std::string& more_headers = "",
                    const std::string& body = "") const {
        const std::string text =
            exchange(method + " " + kEndpoint + query + " HTTP/1.0\r\nHost: test\r\n" + more_headers + "\r\n" + body);
        http_answer answer;
        const size_t end = text.find("\r\n\r\n");
        answer.body = end == std::string::npos ? "" : text.substr(end + 4);
        std::istringstream lines(text.substr(0, end));
        std::getline(lines, answer.status, '\r');
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("Content-Type: "))
                answer.content_types.push_back(line.substr(14, line.find('\r') - 14));
        return answer;
    }

    http_answer post(const std::string& query, const std::string& body) const {
        return ask("POST", query, "Content-Length: " + std::to_string(body.size()) + "\r\n", body);
    }

    std::unique_ptr<running_lighttpd> server;
};

TEST_F(LighttpdTest, PassesOnEveryAnswerToAGet) {
    const std::vector<std::string> plain = {"text/plain"};
    const struct {
        const char* query;
        http_answer answer;
    } table[] = {
        {"?action=get_status_string", {"HTTP/1.0 200 OK", {"text/plain", "text/plain"}, "Running"}},
        {"?action=get_execution_time", {"HTTP/1.0 200 OK", plain, "37"}},
        {"?action=get_is_portrait", {"HTTP/1.0 200 OK", plain, "0"}},
        {"?action=get_status_code", {"HTTP/1.0 200 OK", plain, "200"}},
        {"?action=get_all_parameters", {"HTTP/1.0 200 OK", {"text/xml"}, parameter_io::get_parameters()}},
        {"?action=clear_logfile", {"HTTP/1.0 200 OK", plain, "Log file cleared."}},
        {"?action=nonsense", {"HTTP/1.0 200 OK", {}, ""}},
        {"?action", {"HTTP/1.0 200 OK", {}, ""}},
        {"?%61ction=get%5Fstatus_code", {"HTTP/1.0 200 OK", plain, "200"}},
        {"?action=get_status_code&action=get_is_portrait",
         {"HTTP/1.0 200 OK", plain, "200Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n0"}},
    };
    for (const auto& [query, answer] : table)
        EXPECT_EQ(ask("GET", query), answer) << query;
}

TEST_F(LighttpdTest, PassesOnTheLog) {
    forget_log();
    g_Logger.error("it broke");
    const http_answer plain = ask("GET", "?action=get_logfile_as_plain_text");
    EXPECT_EQ(plain, (http_answer{"HTTP/1.0 200 OK", {"text/plain"}, g_Logger.getPlainLogContents()}));
    EXPECT_THAT(plain.body,
                testing::MatchesRegex("[-0-9]+ [0-9:]+ korvex_orvel error it broke\n[-0-9]+ [0-9:]+ korvex_orvel info "
                                      "processGET: get_logfile_as_plain_text\n"));
    const http_answer serialised = ask("GET", "?action=get_logfile_as_serialized_text");
    EXPECT_EQ(serialised, (http_answer{"HTTP/1.0 200 OK", {"text/plain"}, g_Logger.getSerializedLogContents()}));
    EXPECT_THAT(log_lines(), ElementsAre("error|it broke", "info|processGET: get_logfile_as_plain_text",
                                         "info|processGET: get_logfile_as_plain_text"));
    ask("GET", "?action=clear_logfile");
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(LighttpdTest, PassesOnPostsAndTheirRefusals) {
    const http_answer accepted = {"HTTP/1.0 200 OK", {}, ""};
    const std::string document = posted_document().text();
    EXPECT_EQ(post("?action=set_post_parameters", document), accepted);
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "640x480");
    for (const char* query : {"?action=other", "?action=", "?action", "?action=get_status_code"})
        EXPECT_EQ(post(query, "x"), accepted) << query;
    EXPECT_EQ(post("?action=set_post_parameters&action=set_post_parameters", document),
              (http_answer{"HTTP/1.0 200 OK", {}, "Status: 400 Bad Request\r\n\r\n"}));
    for (const char* body : {"nonsense", ""})
        EXPECT_EQ(post("?action=set_post_parameters", body), (http_answer{"HTTP/1.0 400 Bad Request", {}, ""}));
}

TEST_F(LighttpdTest, MakesAnErrorOfItsOwnOfAnswersWithoutAHeader) {
    const struct {
        const char* method;
        const char* query;
        const char* body;
        const char* why;
    } table[] = {
        {"GET", "?action=%4", "", "Failed to parse URI"},
        {"GET", "", "", "Failed to parse query"},
        {"GET", "?foo=1", "", "no output"},
        {"GET", "?", "", "no output"},
        {"PUT", "?action=x", "x", "a method that is not supported"},
        {"DELETE", "?action=x", "", "a method that is not supported"},
        {"HEAD", "?action=get_status_code", "", "a method that is not supported"},
        {"POST", "?action=set_post_parameters", "<app><Eula>1</Eula></app>", "an exception while storing"},
        {"POST", "?foo=1", "x", "no output"},
    };
    for (const auto& [method, query, body, why] : table) {
        const std::string length = std::to_string(std::string(body).size());
        const std::string header = length == "0" ? "" : "Content-Length: " + length + "\r\n";
        EXPECT_EQ(ask(method, query, header, body).status, "HTTP/1.0 500 Internal Server Error")
            << method << " " << query << ": " << why;
    }
}

TEST_F(LighttpdTest, GoesOnAfterClientsThatGoAwayHalfWay) {
    const std::string head =
        std::string("POST ") + kEndpoint + "?action=set_post_parameters HTTP/1.1\r\nHost: test\r\n";
    for (const std::string& begun : {std::string("GET /lo"), head, head + "Content-Length: 1000\r\n\r\n<app>",
                                     head + "Content-Length: 1000\r\n\r\n"}) {
        const std::optional<int> connection = server->try_connect();
        ASSERT_TRUE(connection);
        send(*connection, begun.data(), begun.size(), MSG_NOSIGNAL);
        close(*connection);
        EXPECT_EQ(ask("GET", "?action=get_status_code").body, "200");
    }
    EXPECT_FALSE(g_ConfigParams.b_EulaAccepted);
}

TEST_F(LighttpdTest, KeepsBadLengthsAndLargeBodiesFromTheApplication) {
    const struct {
        const char* headers;
        const char* status;
    } table[] = {{"Content-Length: -1\r\n", "HTTP/1.0 400 Bad Request"},
                 {"Content-Length: many\r\n", "HTTP/1.0 400 Bad Request"},
                 {"Content-Length: 65537\r\n", "HTTP/1.0 413 Payload Too Large"},
                 {"Content-Length: 99999999999\r\n", "HTTP/1.0 413 Payload Too Large"},
                 {"", "HTTP/1.0 411 Length Required"}};
    for (const auto& [headers, status] : table) {
        EXPECT_EQ(ask("POST", "?action=set_post_parameters", headers).status, status) << headers;
        EXPECT_EQ(ask("GET", "?action=get_status_code").body, "200");
    }
}

/** As many actions as make a query of `length` characters; the last one's name is not known. */
std::string query_of(size_t length) {
    std::string query = "action=get_logfile_as_plain_text";
    while (query.size() + 40 < length)
        query += "&action=get_logfile_as_plain_text";
    return "?" + query + "&action=" + std::string(length - query.size() - 8, 'x');
}

TEST_F(LighttpdTest, KeepsQueriesOfMoreThan256CharactersFromTheApplication) {
    forget_log();
    EXPECT_EQ(ask("GET", query_of(256)).status, "HTTP/1.0 200 OK");
    const size_t logged = log_lines().size();
    EXPECT_GT(logged, 0U);
    for (const size_t length : {257U, 300U, 8000U}) {
        const http_answer refused = ask("GET", query_of(length));
        EXPECT_EQ(refused.status, "HTTP/1.0 414 URI Too Long") << length;
        EXPECT_THAT(refused.body, testing::HasSubstr("may have 256 characters")) << length;
        EXPECT_EQ(post(query_of(length), "x").status, "HTTP/1.0 414 URI Too Long") << length;
    }
    EXPECT_EQ(log_lines().size(), logged);
}

TEST_F(LighttpdTest, SaysOnEveryAnswerThatNoOtherSiteMayUseIt) {
    const std::string head = std::string(" ") + kEndpoint + "?action=get_status_code HTTP/1.0\r\n";
    const struct {
        std::string request;
        const char* status;
    } table[] = {
        {"GET" + head + "Host: test\r\n\r\n", "200"},
        {"GET / HTTP/1.0\r\nHost: test\r\n\r\n", "302"},
        {"GET /nothing HTTP/1.0\r\nHost: test\r\n\r\n", "404"},
        {"GET /stream/640x360.jpg HTTP/1.0\r\nHost: test\r\n\r\n", "503"},
        {"GET" + head + "Host: elsewhere\r\n\r\n", "403"},
        {"GET" + head + "Host: te st\r\n\r\n", "400"},
        {"nonsense\r\n\r\n", "400"},
        {"POST" + head + "Host: test\r\n\r\n", "411"},
        {"POST" + head + "Host: test\r\nContent-Length: 65537\r\n\r\n", "413"},
        {"POST" + head + "Content-Length: 65537\r\n\r\n", "413"},
        {"GET " + std::string(kEndpoint) + query_of(300) + " HTTP/1.0\r\nHost: test\r\n\r\n", "414"},
        {"GET" + head + "Host: test\r\nX: " + std::string(9000, 'x') + "\r\n\r\n", "431"},
        {"PUT" + head + "Host: test\r\nContent-Length: 1\r\n\r\nx", "500"},
        {"BREW / HTTP/1.0\r\nHost: test\r\n\r\n", "501"},
        {"GET / HTTP/9.0\r\nHost: test\r\n\r\n", "505"},
    };
    for (const auto& [request, status] : table) {
        const std::string answer = exchange(request);
        const std::string what = request.substr(0, 60) + "\n" + answer.substr(0, 600);
        EXPECT_EQ(answer.substr(0, answer.find(' ') + 4), "HTTP/1.0 " + std::string(status)) << what;
        for (const char* header : {"Cross-Origin-Resource-Policy: same-origin", "X-Content-Type-Options: nosniff",
                                   "X-Frame-Options: DENY", "Content-Security-Policy: default-src 'none'"})
            EXPECT_THAT(answer, testing::HasSubstr(std::string("\r\n") + header)) << what;
        EXPECT_THAT(answer, testing::Not(testing::HasSubstr("\r\nServer:"))) << what;
    }
}

TEST_F(LighttpdTest, AnswersOthersWhile600RequestsAreHalfHere) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    setrlimit(RLIMIT_NOFILE, &limit);
    const std::string begun = std::string("GET ") + kEndpoint + "?action=get_status_code HTTP/1.1\r\nHost: te";
    // The server gives each of them up after a while. An answer only counts while all are there, and a slow machine
    // tries again.
    bool are_all_there = false;
    for (int tries = 0; tries < 10 && !are_all_there; ++tries) {
        std::vector<int> half_open;
        while (half_open.size() < 600) {
            const std::optional<int> connection = server->try_connect();
            ASSERT_TRUE(connection);
            EXPECT_EQ(send(*connection, begun.data(), begun.size(), MSG_NOSIGNAL), static_cast<ssize_t>(begun.size()));
            half_open.push_back(*connection);
        }
        EXPECT_EQ(ask("GET", "?action=get_status_code").body, "200");
        are_all_there = std::none_of(half_open.begin(), half_open.end(), was_closed);
        std::for_each(half_open.begin(), half_open.end(), close);
    }
    EXPECT_TRUE(are_all_there) << "it answers only when others are given up";
}

TEST_F(LighttpdTest, KeepsAnswersThatWaitForTheirReaderInItsOwnFolder) {
    // More than the sockets' buffers and the server's memory take.
    for (int line = 0; line < 8000; ++line)
        g_Logger.info(std::string(1000, 'x'));
    const std::optional<int> connection = server->try_connect();
    ASSERT_TRUE(connection);
    const std::string request =
        std::string("GET ") + kEndpoint + "?action=get_logfile_as_plain_text HTTP/1.0\r\nHost: test\r\n\r\n";
    send(*connection, request.data(), request.size(), MSG_NOSIGNAL);
    const auto has_waiting_answer = [&](const std::string& where) {
        const std::vector<std::string> files = server->open_files();
        return std::any_of(files.begin(), files.end(), [&](const std::string& file) {
            return file.find(where) != std::string::npos && file.find("lighttpd-upload") != std::string::npos;
        });
    };
    for (int tries = 0; tries < 600 && !has_waiting_answer("/"); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(has_waiting_answer(std::filesystem::current_path().string() + "/html/uploads/"))
        << testing::PrintToString(server->open_files());
    close(*connection);
}

} // namespace
