// The web thread at its fixed socket. Its phases are the process's, so that each test has a process of its own.

#include "app/app_main.h"
#include "app/web_thread.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/recording_syslog.h"
#include "tests/web/fastcgi_client.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

using testing::ExitedWithCode;

namespace {

bool g_init_fails = false;

} // namespace

extern "C" {
int __real_FCGX_Init();

int __wrap_FCGX_Init() {
    return g_init_fails ? 1 : __real_FCGX_Init();
}
}

namespace {

constexpr auto kSocket = "/usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";
constexpr auto kOpens = "info|init: Socket: /usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";

class WebThreadTest : public core_fixture {
  protected:
    void SetUp() override {
        std::filesystem::remove_all(kSocket);
        ASSERT_TRUE(std::filesystem::is_directory(std::filesystem::path(kSocket).parent_path()))
            << "run it with tests/web/in_package_folder.sh";
    }
    void TearDown() override { std::filesystem::remove_all(kSocket); }

    static void start_thread() {
        std::signal(SIGPIPE, SIG_IGN);
        g_StatusCode = 200;
        std::thread([] {
            s_thread = gettid();
            webservices_thread_fcn(nullptr);
        }).detach();
    }

    static void wait_for_service() {
        for (int tries = 0; tries < 3000; ++tries) {
            try {
                if (ask() == "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n200")
                    return;
            } catch (const std::runtime_error&) {
                // not yet
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        _exit(99);
    }

    static std::string ask() {
        fastcgi_client client(kSocket);
        client.send_begin();
        client.send_parameters({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/?action=get_status_code"}});
        client.send_body("");
        return client.receive();
    }

    /** The service ends, however long this machine takes for it. */
    static bool ends() {
        for (int tries = 0; tries < 100; ++tries)
            if (end_web_service())
                return true;
        return false;
    }

    /** In a process of its own; `what` gives its exit status. */
    template <typename Action>
    static void in_own_process(Action what) {
        EXPECT_EXIT(_exit(what()), ExitedWithCode(0), "");
    }

    static inline std::atomic<pid_t> s_thread{0};
};

TEST_F(WebThreadTest, HasNothingToEndWhenItWasNeverStarted) {
    in_own_process([] { return end_web_service() ? 0 : 1; });
}

TEST_F(WebThreadTest, ServesOnASocketThatEverybodyMayWriteTo) {
    in_own_process([] {
        forget_log();
        start_thread();
        wait_for_service();
        struct stat socket {};
        if (stat(kSocket, &socket) != 0 || (socket.st_mode & 0777U) != 0777U)
            return 2;
        return log_lines() == std::vector<std::string>{kOpens} && ends() ? 0 : 1;
    });
}

TEST_F(WebThreadTest, GivesWayToTheAnalysis) {
    in_own_process([] {
        const int before = getpriority(PRIO_PROCESS, 0);
        start_thread();
        wait_for_service();
        const int serving = getpriority(PRIO_PROCESS, static_cast<id_t>(s_thread.load()));
        return serving > before && getpriority(PRIO_PROCESS, 0) == before && ends() ? 0 : 1;
    });
}

TEST_F(WebThreadTest, TakesThePlaceOfAnEarlierSocket) {
    std::ofstream(kSocket) << "left over";
    in_own_process([] {
        start_thread();
        wait_for_service();
        return ends() ? 0 : 1;
    });
}

TEST_F(WebThreadTest, EndsWithNobodyListenedToAnyMore) {
    in_own_process([] {
        start_thread();
        wait_for_service();
        if (!ends())
            return 1;
        try {
            fastcgi_client late(kSocket);
            late.send_begin();
            return late.receive().empty() ? 0 : 2;
        } catch (const std::runtime_error&) {
            return 0;
        }
    });
}

TEST_F(WebThreadTest, EndsWhileClientsAskWithoutABreak) {
    in_own_process([] {
        start_thread();
        wait_for_service();
        std::thread([] {
            try {
                for (;;)
                    ask();
            } catch (const std::runtime_error&) {
                // ended
            }
        }).detach();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return ends() ? 0 : 1;
    });
}

TEST_F(WebThreadTest, SaysWhenAClientKeepsIt) {
    in_own_process([] {
        start_thread();
        wait_for_service();
        fastcgi_client stuck(kSocket);
        stuck.send_begin(); // and no parameters
        for (int tries = 0; tries < 3000 && !stuck.is_read(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return end_web_service() ? 1 : 0;
    });
}

TEST_F(WebThreadTest, SaysWhenTheServiceCannotBeHad) {
    in_own_process([] {
        g_init_fails = true;
        recording_syslog::recorder().reset();
        forget_log();
        for (int entry = 1; entry <= 2; ++entry) {
            g_StatusCode = 200;
            if (webservices_thread_fcn(nullptr) != nullptr || g_StatusCode != 50)
                return 2;
        }
        const std::vector<std::string> lines = {kOpens, "error|init: FCGX_Init failed",
                                                "error|webservices_thread_fcn: Failed to init fastcgi service"};
        std::vector<std::string> twice = lines;
        twice.insert(twice.end(), lines.begin(), lines.end());
        if (log_lines() != twice)
            return 3;
        const std::vector<std::string> traces = {call_line("syslog", LOG_ERR, "webservices_thread_fcn 1"),
                                                 call_line("syslog", LOG_ERR, "webservices_thread_fcn 2")};
        return recording_syslog::recorder().journal() == traces && ends() ? 0 : 4;
    });
}

TEST_F(WebThreadTest, EndsAtOnceWithoutASocketAndLeavesTheStatusAlone) {
    std::filesystem::create_directories(std::filesystem::path(kSocket) / "in the way");
    in_own_process([] {
        forget_log();
        start_thread();
        for (int tries = 0; tries < 3000 && g_Logger.getPlainLogContents().empty(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (!ends() || g_StatusCode != 200)
            return 1;
        return log_lines() == std::vector<std::string>{kOpens} ? 0 : 2;
    });
}

} // namespace
