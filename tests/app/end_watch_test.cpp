// The end of the whole process, each time in a child: whatever keeps its main thread would keep it for minutes.

#include "app/app_main.h"
#include "base/blocked_signals.h"
#include "base/timer.h"
#include "tests/app/core_in_child.h"
#include "tests/doubles/recording_axevent.h"
#include "tests/doubles/recording_axoverlay.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

using testing::AllOf;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

namespace {

using namespace std::chrono_literals;

constexpr auto kHangs = 100s;     // what does not answer
constexpr int64_t kSoon = 30'000; // milliseconds; a second on a machine that has nothing else to do
constexpr auto kBegins = "info|logMemoryUsage: Starting Korvex Orvel";
constexpr auto kEnds = "info|logMemoryUsage: Ending Korvex Orvel";
constexpr auto kWithdrawn = "info|~EventManager: EventManager destructor complete";

void ask_for_the_end() {
    kill(getpid(), SIGTERM);
}

/** Asks, and does not answer. */
void ask_and_hang() {
    ask_for_the_end();
    std::this_thread::sleep_for(kHangs);
}

void ask_and_hang_with_signals_blocked() {
    const blocked_signals blocked;
    ask_and_hang();
}

class EndWatchTest : public core_in_child {
  protected:
    /** The application ends soon with this status, its last lines written. */
    void expect_end(int status, const std::function<void()>& prepare) const {
        EXPECT_EQ(status_of_child([&prepare] {
                      prepare();
                      return korvex_orvel_main();
                  }),
                  status);
        expect_last_lines();
    }

    void expect_last_lines() const {
        const std::vector<std::string> lines = lines_of_the_file();
        ASSERT_GE(lines.size(), 3U);
        EXPECT_EQ(lines[lines.size() - 2], "warning|STOPPING korvex_orvel");
        EXPECT_EQ(lines.back(), "warning|");
        EXPECT_THAT(lines, Contains(StartsWith(kBegins)));
    }

    void TearDown() override { EXPECT_LT((m_since_start.tock(), m_since_start.elapsed()), m_tests * kSoon); }

    void forget_file() {
        std::filesystem::remove_all(folder / "localdata");
        ++m_tests;
    }

  private:
    Timer m_since_start;
    int64_t m_tests = 1;
};

struct hanging_call {
    call_recorder& service;
    const char* name;
};

TEST_F(EndWatchTest, AStartThatHangsAnywhereEndsWithStatus1AndItsLog) {
    const hanging_call table[] = {
        {fake_axparameter::recorder(), "ax_parameter_new"},
        {fake_axparameter::recorder(), "ax_parameter_get"},
        {recording_vdo::recorder(), "vdo_channel_get"},
        {recording_vdo::recorder(), "vdo_stream_start"},
        {recording_larod::recorder(), "larodConnect"},
        {recording_larod::recorder(), "larodLoadModel"},
        {recording_larod::recorder(), "larodCreateInferenceRequest"},
        {recording_axoverlay::recorder(), "axoverlay_init"},
        {recording_axevent::recorder(), "ax_event_handler_new"},
        {recording_axevent::recorder(), "ax_event_handler_declare"},
    };
    for (const auto& [service, name] : table) {
        SCOPED_TRACE(name);
        for (const auto& hang : {ask_and_hang, ask_and_hang_with_signals_blocked}) {
            forget_file();
            expect_end(1, [&service = service, name = name, hang] { service.during(name, hang); });
            EXPECT_THAT(lines_of_the_file(), Not(Contains(StartsWith(kEnds))));
        }
    }
}

TEST_F(EndWatchTest, APassThatHangsAnywhereEndsAsTheLoopWould) {
    const hanging_call table[] = {
        {recording_vdo::recorder(), "vdo_stream_get_buffer"},
        {recording_larod::recorder(), "larodRunInference"},
        {recording_vdo::recorder(), "vdo_stream_buffer_unref"},
    };
    for (const auto& [service, name] : table) {
        SCOPED_TRACE(name);
        forget_file();
        expect_end(0, [&service = service, name = name] { service.during(name, ask_and_hang); });
        EXPECT_THAT(lines_of_the_file(), AllOf(Contains(StartsWith(kEnds)).Times(1), Contains(kWithdrawn)));
    }
}

TEST_F(EndWatchTest, ACameraWithoutFramesEndsAsTheLoopWould) {
    expect_end(0, [] {
        recording_vdo::feed(0);
        recording_vdo::recorder().during("vdo_stream_get_buffer", ask_for_the_end);
    });
    EXPECT_THAT(lines_of_the_file(), AllOf(Contains(StartsWith(kEnds)).Times(1), Contains(kWithdrawn)));
}

TEST_F(EndWatchTest, AnEventServiceThatHangsInAPassKeepsItsEvents) {
    expect_end(0, [] {
        for (const char* name : {"DetectCars", "Alert1Active", "Alert2Active", "Alert3Active"})
            fake_axparameter::put(name, "true");
        fake_axparameter::put("MinNumberOfPeopleForTrigger", "0");
        recording_axevent::recorder().during("ax_event_handler_send_event", ask_and_hang);
    });
    EXPECT_THAT(lines_of_the_file(),
                AllOf(Contains(StartsWith(kEnds)).Times(1), Not(Contains(StartsWith(kWithdrawn)))));
}

TEST_F(EndWatchTest, AnEventServiceThatHangsAtTheWithdrawalDoesNotCostTheLog) {
    for (const bool silent : {false, true}) {
        forget_file();
        expect_end(0, [silent] {
            if (silent)
                recording_vdo::feed(0);
            recording_vdo::recorder().during("vdo_stream_get_buffer", ask_for_the_end);
            recording_axevent::recorder().during("ax_event_handler_undeclare",
                                                 [] { std::this_thread::sleep_for(kHangs); });
        });
        EXPECT_THAT(lines_of_the_file(), Not(Contains(kWithdrawn))) << silent;
    }
}

TEST_F(EndWatchTest, AServiceThatHangsWhileTheObjectsAreDestroyedDoesNotKeepTheProcess) {
    expect_end(0, [] {
        recording_larod::on_inference(ask_for_the_end);
        recording_larod::recorder().during("larodDisconnect", [] { std::this_thread::sleep_for(kHangs); });
    });
    EXPECT_THAT(lines_of_the_file(), Contains(kWithdrawn));
}

TEST_F(EndWatchTest, TheProgramAroundHasItsSayWhenTheEndIsForced) {
    expect_end(0, [] {
        std::at_quick_exit([] {
            std::this_thread::sleep_for(600ms); // longer than a hanging service is waited for
            std::ofstream("finished") << "a recording";
        });
        recording_vdo::recorder().during("vdo_stream_get_buffer", ask_and_hang);
    });
    EXPECT_EQ(contents_of(folder / "finished"), "a recording");
}

TEST_F(EndWatchTest, TheProgramAroundMayTakeItsTimeAfterTheLoop) {
    EXPECT_EQ(status_of_child([] {
                  recording_larod::on_inference(ask_for_the_end);
                  const int result = korvex_orvel_main();
                  std::this_thread::sleep_for(1200ms); // longer than all the rest may take
                  std::ofstream("finished") << "a recording";
                  return result;
              }),
              0);
    EXPECT_EQ(contents_of(folder / "finished"), "a recording");
    expect_last_lines();
}

TEST_F(EndWatchTest, WhoeverLeftSigtermBlockedDoesNotHoldTheEndUp) {
    expect_end(0, [] {
        sigset_t sigterm;
        sigemptyset(&sigterm);
        sigaddset(&sigterm, SIGTERM);
        sigprocmask(SIG_BLOCK, &sigterm, nullptr);
        recording_larod::on_inference(ask_for_the_end);
    });
    EXPECT_THAT(lines_of_the_file(), AllOf(Contains(StartsWith(kEnds)).Times(1), Contains(kWithdrawn)));
}

TEST_F(EndWatchTest, AHandlerThatIsCalledWithoutAWatchEndsTheProcess) {
    EXPECT_EQ(status_of_child([] {
                  handle_sigterm(SIGTERM);
                  return 0;
              }),
              1);
}

TEST_F(EndWatchTest, WhenNoThreadCanBeHadSigtermEndsTheProcessAllTheSame) {
    EXPECT_EQ(status_of_child([] {
                  rlimit none{0, 0};
                  EXPECT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
                  EXPECT_TRUE(geteuid() != 0 || setuid(65534) == 0) << "root is held by no limit";
                  init_signals();
                  const std::filesystem::directory_iterator threads("/proc/self/task");
                  if (std::distance(begin(threads), end(threads)) != 1)
                      return 2;
                  raise(SIGTERM);
                  return 0;
              }),
              1);
}

/** Milliseconds from the first call of the store, for the thread that is to be interrupted anywhere. */
void ask_in(std::chrono::microseconds delay) {
    fake_axparameter::recorder().during("ax_parameter_new", [delay] {
        const blocked_signals during_creation;
        std::thread([delay] {
            std::this_thread::sleep_for(delay);
            ask_for_the_end();
        }).detach();
    });
}

TEST_F(EndWatchTest, SigtermEndsAnyMomentOfTheStartAndOfThePasses) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    int complete = 0;
    constexpr int rounds = 12;
    for (int round = 0; round < rounds; ++round) {
        forget_file();
        const int status = status_of_child([delay = std::chrono::microseconds(random() % 100'000)] {
            ask_in(delay);
            return korvex_orvel_main();
        });
        EXPECT_THAT(status, testing::AnyOf(0, 1));
        const std::vector<std::string> lines = lines_of_the_file();
        complete += !lines.empty() && lines.back() == "warning|" ? 1 : 0;
    }
    // A sanitizer's allocator has locks that a thread stopped in it keeps; the end comes without the log then.
    EXPECT_GE(complete, rounds - 1);
}

} // namespace
