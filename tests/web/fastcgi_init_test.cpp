// The service's calls of libfcgi outside its requests: each is recorded and does nothing else.

#include "base/blocked_signals.h"
#include "tests/doubles/call_recorder.h"
#include "tests/doubles/core_fixture.h"
#include "web/fastcgi_service.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kPath = "/usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";
constexpr auto kOpens = "info|init: Socket: /usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";
constexpr int kSocket = 71; // a descriptor that is never looked at

std::vector<std::string> g_calls;
int g_fcgx_init = 0;
int g_open_socket = kSocket;
int g_init_request = 0;
bool g_cannot_listen = false;
bool g_must_end_at_sigterm = false; // where the socket is tried
const pid_t g_application = getpid();
FCGX_Request* g_request = nullptr; // of the last call that had one

/** Always true of the application itself. */
bool ends_at_sigterm() {
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    struct sigaction at_sigterm {};
    sigaction(SIGTERM, nullptr, &at_sigterm);
    return getpid() == g_application || (sigismember(&blocked, SIGTERM) == 0 && at_sigterm.sa_handler == SIG_DFL);
}

} // namespace

extern "C" {
int __real_FCGX_Init();

int __wrap_FCGX_Init() {
    g_calls.emplace_back("FCGX_Init");
    return g_fcgx_init;
}

int __wrap_FCGX_OpenSocket(const char* path, int backlog) {
    if (g_cannot_listen || (g_must_end_at_sigterm && !ends_at_sigterm()))
        exit(13); // as libfcgi does
    g_calls.push_back(call_line("FCGX_OpenSocket", path, backlog));
    return g_open_socket;
}

int __wrap_chmod(const char* path, mode_t mode) {
    g_calls.push_back(call_line("chmod", path, mode));
    return -1;
}

int __wrap_FCGX_InitRequest(FCGX_Request* request, int socket, int flags) {
    g_request = request;
    g_calls.push_back(call_line("FCGX_InitRequest", socket, flags));
    return g_init_request;
}

void __wrap_FCGX_Free(FCGX_Request* request, int close) {
    g_request = request;
    g_calls.push_back(call_line("FCGX_Free", close));
}
}

namespace {

class FastcgiInitTest : public core_fixture {
  protected:
    FastcgiInitTest() {
        g_calls.clear();
        g_fcgx_init = 0;
        g_open_socket = kSocket;
        g_init_request = 0;
        g_cannot_listen = false;
        g_must_end_at_sigterm = false;
        g_request = nullptr;
    }

    const std::string opening = call_line("FCGX_OpenSocket", kPath, 5);
    const std::string opening_up = call_line("chmod", kPath, 0777);
};

} // namespace

TEST_F(FastcgiInitTest, OpensTheSocketToEverybodyAndPreparesTheRequest) {
    fastcgi_service service;
    EXPECT_EQ(service.m_sock, 0);
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.init(), 0); }), ElementsAre(kOpens));
    EXPECT_THAT(g_calls, ElementsAre("FCGX_Init", opening, opening_up, call_line("FCGX_InitRequest", kSocket, 0)));
    EXPECT_EQ(service.m_sock, kSocket);
    EXPECT_EQ(g_request, &service.m_request);
}

TEST_F(FastcgiInitTest, EndsWhenTheLibraryCannotBeInitialised) {
    fastcgi_service service;
    g_fcgx_init = -9998;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.init(), 1); }), ElementsAre(kOpens, "error|init: FCGX_Init failed"));
    EXPECT_THAT(g_calls, ElementsAre("FCGX_Init"));
    EXPECT_EQ(service.m_sock, 0);
}

TEST_F(FastcgiInitTest, FreesARequestThatCannotBePrepared) {
    fastcgi_service service;
    g_init_request = -1;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.init(), 1); }),
                ElementsAre(kOpens, "error|init: FCGX_InitRequest failed"));
    EXPECT_THAT(g_calls, ElementsAre("FCGX_Init", opening, opening_up, call_line("FCGX_InitRequest", kSocket, 0),
                                     call_line("FCGX_Free", kSocket)));
    EXPECT_EQ(g_request, &service.m_request);
}

TEST_F(FastcgiInitTest, LeavesASocketThatIsNoneToBeNoticedByAccepting) {
    fastcgi_service service;
    g_open_socket = -1;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.init(), 0); }), ElementsAre(kOpens));
    EXPECT_THAT(g_calls, ElementsAre("FCGX_Init", opening, opening_up, call_line("FCGX_InitRequest", -1, 0)));
    EXPECT_EQ(service.m_sock, -1);
}

TEST_F(FastcgiInitTest, SurvivesALibraryThatEndsTheProcessWhenItCannotListen) {
    fastcgi_service service;
    g_cannot_listen = true;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.init(), 0); }), ElementsAre(kOpens));
    EXPECT_THAT(g_calls, ElementsAre("FCGX_Init", opening_up, call_line("FCGX_InitRequest", -1, 0)));
    EXPECT_EQ(service.m_sock, -1);
}

TEST_F(FastcgiInitTest, OpensTheSocketWhereChildrenAreIgnored) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    fastcgi_service service;
    EXPECT_EQ(service.init(), 0);
    EXPECT_EQ(service.m_sock, kSocket);
    service.m_sock = 0;
    g_cannot_listen = true;
    EXPECT_EQ(service.init(), 0);
    EXPECT_EQ(service.m_sock, -1);
    std::signal(SIGCHLD, before);
}

TEST_F(FastcgiInitTest, TriesTheSocketInAProcessThatSigtermEnds) {
    const auto before = std::signal(SIGTERM, [](int) {});
    g_must_end_at_sigterm = true;
    fastcgi_service service;
    {
        const blocked_signals as_in_the_web_thread;
        EXPECT_EQ(service.init(), 0);
    }
    EXPECT_EQ(service.m_sock, kSocket);
    std::signal(SIGTERM, before);
}

TEST_F(FastcgiInitTest, FreesItsRequestAtTheEndWithTheDescriptorForAFlag) {
    for (const int descriptor : {0, kSocket, -1}) {
        g_calls.clear();
        const FCGX_Request* request = nullptr;
        {
            fastcgi_service service;
            service.m_sock = descriptor;
            request = &service.m_request;
        }
        EXPECT_THAT(g_calls, ElementsAre(call_line("FCGX_Free", descriptor)));
        EXPECT_EQ(g_request, request);
    }
}

TEST_F(FastcgiInitTest, ServesNobodyAndSaysNothingWithoutASocket) {
    ASSERT_EQ(__real_FCGX_Init(), 0);
    fastcgi_service service;
    service.m_request.listen_sock = -1;
    service.m_request.ipcFd = -1;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(service.run(), 0); }), IsEmpty());
}
