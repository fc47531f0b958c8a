#include "app/app_main.h"
#include "output/event_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_axoverlay.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

using texts = std::vector<std::string>;

} // namespace

extern "C" {
int __real_FCGX_OpenSocket(const char*, int);

/** The web service's fixed path is the camera's; here its socket stands in the test's folder. */
int __wrap_FCGX_OpenSocket(const char*, int backlog) {
    return __real_FCGX_OpenSocket("web.socket", backlog);
}
}

namespace {

/** The objects are the process's own: what sets them up runs in a child, with the model files in the package. */
class AppMainTest : public core_fixture {
  protected:
    AppMainTest() {
        failing_libc::reset();
        std::filesystem::create_directories(folder / "korvex_orvel");
        for (const char* name : {"detect_960_540.tflite", "detect_540_960.tflite"})
            std::ofstream(folder / "korvex_orvel" / name) << "model";
        failing_libc::redirect_packages(folder);
        fake_axparameter::put("MainLoopTime", "20");
        fake_axparameter::put("EulaAccepted", "true");
        fake_axparameter::put("Sensitivity", "0.350000");
    }
    ~AppMainTest() override { failing_libc::reset(); }

    /** The exit status of a child that runs `body`, ends like main with its result and fails when a check does. */
    static int status_of_child(const std::function<int()>& body) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            const int result = body();
            std::exit(testing::Test::HasFailure() ? 77 : result);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
        return WEXITSTATUS(status);
    }

    /** A set-up without main loop, as start-up does it. */
    static void start() {
        init_parameter_controller();
        EXPECT_EQ(init_ai(), 0);
        forget_log();
    }

    static void wait_for_sigterm_after_passes(int passes) {
        recording_larod::on_inference([passes, count = 0]() mutable {
            if (++count == passes)
                kill(getpid(), SIGTERM);
        });
    }

    texts lines_of_the_file() const {
        std::ifstream file(folder / "localdata" / "OrvelLog.txt");
        texts lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line.substr(line.find('|', line.find('|') + 1) + 1));
        return lines;
    }
};

TEST_F(AppMainTest, theWordsStartAsTheyShould) {
    EXPECT_EQ(g_app_name, "korvex_orvel");
    EXPECT_EQ(g_StatusCode, 0);
    EXPECT_EQ(g_ExecutionTime, 0);
    EXPECT_EQ(g_ThreadID, 0U);
    EXPECT_EQ(g_StreamWidth, 0);
    EXPECT_EQ(g_StreamHeight, 0);
    EXPECT_FALSE(g_IsPortrait);
    EXPECT_EQ(gp_Loop, nullptr);
    EXPECT_EQ(g_Alert1ThreshSecs, 5);
    EXPECT_EQ(g_Alert2ThreshSecs, 10);
    EXPECT_EQ(g_Alert3ThreshSecs, 15);
}

TEST_F(AppMainTest, memoryIsLoggedInKilobytes) {
    struct sysinfo memory {};
    ASSERT_EQ(sysinfo(&memory), 0);
    const std::string total = std::to_string(uint64_t{memory.totalram} * memory.mem_unit / 1024);
    EXPECT_THAT(log_of([] { logMemoryUsage("Caption"); }),
                ElementsAre(MatchesRegex("info.logMemoryUsage: Caption - Total memory: " + total +
                                         " kB. Free memory: [0-9]+ kB.")));
    failing_libc::fail("sysinfo", EFAULT);
    EXPECT_THAT(log_of([] { logMemoryUsage("Caption"); }),
                ElementsAre("error|logMemoryUsage: Failed to retrieve memory information."));
}

TEST_F(AppMainTest, signalsAreSetAsTheyShould) {
    static constexpr auto kSpecialFlags = static_cast<int>(SA_RESTART | SA_SIGINFO | SA_RESETHAND | SA_NODEFER);
    EXPECT_EQ(status_of_child([] {
                  init_signals();
                  struct sigaction now {};
                  sigaction(SIGPIPE, nullptr, &now);
                  EXPECT_EQ(now.sa_handler, SIG_IGN);
                  EXPECT_EQ(sigismember(&now.sa_mask, SIGPIPE), 1);
                  EXPECT_EQ(now.sa_flags & kSpecialFlags, 0);
                  sigaction(SIGTERM, nullptr, &now);
                  EXPECT_EQ(now.sa_handler, handle_sigterm);
                  EXPECT_EQ(sigismember(&now.sa_mask, SIGTERM), 0);
                  EXPECT_EQ(now.sa_flags & kSpecialFlags, 0);
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, sigtermBeforeTheLoopEndsWithStatus1) {
    EXPECT_EQ(status_of_child([] {
                  init_signals();
                  raise(SIGTERM);
                  return 0;
              }),
              1);
}

TEST_F(AppMainTest, sigtermWithALoopRemovesTheTimeoutAndQuits) {
    gp_Loop = g_main_loop_new(nullptr, FALSE);
    g_ThreadID = g_timeout_add(
        1000000, [](gpointer) -> gboolean { return TRUE; }, nullptr);
    const guint timeout = g_ThreadID;
    g_idle_add(
        [](gpointer) -> gboolean {
            handle_sigterm(SIGTERM);
            return FALSE;
        },
        nullptr);
    g_main_loop_run(gp_Loop);
    EXPECT_EQ(g_ThreadID, 0U);
    EXPECT_EQ(g_main_context_find_source_by_id(nullptr, timeout), nullptr);
    g_main_loop_unref(gp_Loop);
    gp_Loop = nullptr;
}

TEST_F(AppMainTest, withoutTheAgreementAPassDoesNothing) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("EulaAccepted", "false");
                  start();
                  recording_vdo::recorder().reset();
                  recording_larod::recorder().reset();
                  recording_axoverlay::recorder().reset();
                  EXPECT_EQ(do_one_analysis(), 1);
                  EXPECT_EQ(g_StatusCode, 408);
                  EXPECT_THAT(log_lines(), IsEmpty());
                  EXPECT_THAT(recording_vdo::recorder().journal(), IsEmpty());
                  EXPECT_THAT(recording_larod::recorder().journal(), IsEmpty());
                  EXPECT_THAT(recording_axoverlay::recorder().journal(), IsEmpty());
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, theSettingsReachTheDetector) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("Sensitivity", "0.625000");
                  start();
                  EXPECT_EQ(g_LocationController.m_Threshold, 0.625F);
                  EXPECT_EQ(g_LocationController.get_iteration_time(), 20);
                  EXPECT_EQ(g_StreamWidth, 1280);
                  EXPECT_EQ(g_StreamHeight, 720);
                  EXPECT_EQ(recording_larod::recorder().calls("larodSetChip 12").size(), 1U);
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, only90And270ArePortraitWithItsModel) {
    const struct {
        const char* rotation;
        bool portrait;
    } table[] = {{"0", false}, {"90", true}, {"180", false}, {"270", true}, {"-90", false}, {"450", false}};
    for (const auto& row : table) {
        EXPECT_EQ(status_of_child([&row] {
                      fake_axparameter::put("root.Image.I0.Appearance.Rotation", row.rotation);
                      start();
                      EXPECT_EQ(g_IsPortrait, row.portrait);
                      EXPECT_EQ(g_StreamWidth, row.portrait ? 720 : 1280);
                      EXPECT_EQ(g_StreamHeight, row.portrait ? 1280 : 720);
                      EXPECT_EQ(recording_vdo::last_settings().at("rotation"), row.portrait ? 90U : 0U);
                      EXPECT_EQ(g_LocationController.m_ModelFileName,
                                row.portrait ? "detect_540_960.tflite" : "detect_960_540.tflite");
                      return 0;
                  }),
                  0)
            << row.rotation;
    }
}

TEST_F(AppMainTest, aPassInTimeIs200AndASlowOne600) {
    EXPECT_EQ(status_of_child([] {
                  start();
                  const struct {
                      int period;
                      int status;
                  } table[] = {{1000000, 200}, {0, 600}, {-1, 600}, {1 << 30, 600}}; // twice 2^30 wraps below 0
                  for (const auto& [period, status] : table) {
                      g_LocationController.m_IterationTime = period;
                      EXPECT_EQ(do_one_analysis(), 0);
                      EXPECT_EQ(g_StatusCode, status) << period;
                      EXPECT_GE(g_ExecutionTime, 0);
                  }
                  EXPECT_EQ(thread_function(nullptr), TRUE);
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, aPassThatTakesTwoPeriodsIsSlow) {
    EXPECT_EQ(status_of_child([] {
                  start();
                  g_LocationController.m_IterationTime = 20;
                  recording_larod::on_inference([] { usleep(45000); });
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_GE(g_ExecutionTime, 45);
                  EXPECT_EQ(g_StatusCode, 600);
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, theHighestActiveAlertIsTheStatusUnlessThePassIsSlow) {
    const struct {
        bool first, second, third;
        int status;
    } table[] = {{false, false, false, 200}, {true, false, false, 502}, {false, true, false, 503},
                 {true, true, false, 503},   {false, false, true, 504}, {true, true, true, 504}};
    EXPECT_EQ(status_of_child([&table] {
                  start();
                  init_overlay_manager();
                  init_event_manager();
                  for (const auto& row : table) {
                      // A redraw comes after the alerts have been decided.
                      recording_axoverlay::on_redraw([&row] {
                          g_EventManager->m_eventStarted["Korvex Orvel First Alert"] = row.first;
                          g_EventManager->m_eventStarted["Korvex Orvel Second Alert"] = row.second;
                          g_EventManager->m_eventStarted["Korvex Orvel Third Alert"] = row.third;
                      });
                      g_LocationController.m_IterationTime = 1000000;
                      EXPECT_EQ(do_one_analysis(), 0);
                      EXPECT_EQ(g_StatusCode, row.status);
                      g_LocationController.m_IterationTime = 0;
                      EXPECT_EQ(do_one_analysis(), 0);
                      EXPECT_EQ(g_StatusCode, 600);
                  }
                  recording_axoverlay::on_redraw({});
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, aSetUpThatFailsAnywhereShowsAs400OnEveryPass) {
    const struct {
        const char* name;
        std::function<void()> prepare;
    } table[] = {
        {"no channel", [] { recording_vdo::recorder().fail("vdo_channel_get"); }},
        {"no resolutions", [] { recording_vdo::recorder().fail("vdo_channel_get_resolutions"); }},
        {"no stream", [] { recording_vdo::recorder().fail("vdo_stream_new"); }},
        {"not attached", [] { recording_vdo::recorder().fail("vdo_stream_attach"); }},
        {"no settings", [] { recording_vdo::recorder().fail("vdo_stream_get_settings"); }},
        {"not started", [] { recording_vdo::recorder().fail("vdo_stream_start"); }},
        {"no model file", [] { failing_libc::fail("open", ENOENT); }},
        {"no service", [] { recording_larod::recorder().fail("larodConnect"); }},
        {"no chip", [] { recording_larod::recorder().fail("larodSetChip"); }},
        {"no model", [] { recording_larod::recorder().fail("larodLoadModel"); }},
        {"no first file", [] { failing_libc::fail("mkstemp", ENOSPC); }},
        {"no last file", [] { failing_libc::fail("mmap", ENOMEM, 4); }},
        {"no inputs", [] { recording_larod::recorder().fail("larodCreateModelInputs"); }},
        {"two inputs", [] { recording_larod::set_tensor_counts(2, 4); }},
        {"no input descriptor", [] { recording_larod::recorder().fail("larodSetTensorFd input0"); }},
        {"no outputs", [] { recording_larod::recorder().fail("larodCreateModelOutputs"); }},
        {"three outputs", [] { recording_larod::set_tensor_counts(1, 3); }},
        {"no output descriptor", [] { recording_larod::recorder().fail("larodSetTensorFd output3"); }},
        {"no request", [] { recording_larod::recorder().fail("larodCreateInferenceRequest"); }},
    };
    for (const auto& row : table) {
        EXPECT_EQ(status_of_child([&row] {
                      row.prepare();
                      start();
                      for (int pass = 0; pass < 2; ++pass) {
                          g_StatusCode = 0;
                          EXPECT_EQ(do_one_analysis(), 1);
                          EXPECT_EQ(g_StatusCode, 400);
                          EXPECT_EQ(log_lines().back(), "error|do_one_analysis: Error in "
                                                        "g_LocationController.larod_prepare_data_and_do_ai");
                          if (g_LocationController.m_buf != nullptr)
                              g_object_unref(g_LocationController.m_buf); // kept by a failed pass
                      }
                      return 0;
                  }),
                  0)
            << row.name;
    }
}

TEST_F(AppMainTest, aFailedPassEndsBeforeTheOverlaysAndTheNextTriesAgain) {
    EXPECT_EQ(status_of_child([] {
                  start();
                  init_overlay_manager();
                  recording_axoverlay::recorder().reset();
                  g_LocationController.m_IterationTime = 1000000;
                  g_ExecutionTime = 4321;
                  recording_larod::recorder().fail("larodRunInference", {.times = 1});
                  EXPECT_EQ(do_one_analysis(), 1);
                  EXPECT_EQ(g_StatusCode, 400);
                  EXPECT_EQ(g_ExecutionTime, 4321) << "of the last pass that ran to its end";
                  EXPECT_THAT(recording_axoverlay::recorder().journal(), IsEmpty());
                  g_object_unref(g_LocationController.m_buf);
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(g_StatusCode, 200);
                  EXPECT_EQ(recording_axoverlay::recorder().calls("axoverlay_redraw").size(), 1U);
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, runsUntilSigtermAndWritesItsLastLines) {
    EXPECT_EQ(status_of_child([] {
                  wait_for_sigterm_after_passes(3);
                  const int result = korvex_orvel_main();
                  EXPECT_EQ(recording_larod::recorder().calls("larodRunInference").size(), 3U)
                      << "no pass after the signal";
                  EXPECT_EQ(g_ThreadID, 0U);
                  return result;
              }),
              0);
    const texts lines = lines_of_the_file();
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(lines[lines.size() - 2], "warning|STOPPING korvex_orvel");
    EXPECT_EQ(lines.back(), "warning|");
    size_t at = 0; // the steps come in this order
    for (const std::string begin :
         {"info|logMemoryUsage: Starting Korvex Orvel - Total memory: ",
          "info|find_rotation_parameter: The value of rotation is 0",
          "info|choose_resolution: ", "info|init_larod: Start fetching video frames from VDO",
          "info|EventManager: ", "info|addEvent: Successfully declared event Korvex Orvel First Alert",
          "info|addEvent: Successfully declared event Korvex Orvel Second Alert",
          "info|addEvent: Successfully declared event Korvex Orvel Third Alert",
          "info|logMemoryUsage: Ending Korvex Orvel - Total memory: ", "warning|STOPPING korvex_orvel"}) {
        while (at < lines.size() && !lines[at].starts_with(begin))
            ++at;
        EXPECT_LT(at, lines.size()) << begin;
    }
}

TEST_F(AppMainTest, aWebThreadThatCannotBeHadEndsTheStart) {
    EXPECT_EQ(status_of_child([] {
                  failing_libc::fail("pthread_create", EAGAIN);
                  const int result = korvex_orvel_main();
                  EXPECT_EQ(result, -1);
                  EXPECT_EQ(g_StatusCode, 50);
                  EXPECT_EQ(gp_Loop, nullptr);
                  return result;
              }),
              255);
}

TEST_F(AppMainTest, startsWithoutAStoreAndWaitsForTheAgreement) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::recorder().fail("ax_parameter_new");
                  g_timeout_add(
                      100,
                      [](gpointer) -> gboolean {
                          kill(getpid(), SIGTERM);
                          return FALSE;
                      },
                      nullptr);
                  return korvex_orvel_main();
              }),
              0);
    EXPECT_EQ(lines_of_the_file().back(), "warning|");
}

} // namespace
