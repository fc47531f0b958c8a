#include "app/app_main.h"
#include "output/overlay_info.h"
#include "tests/app/core_in_child.h"
#include "tests/doubles/recording_axoverlay.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/sysinfo.h>
#include <sys/un.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Pair;

namespace {

constexpr auto kSocket = "web.socket";

} // namespace

extern "C" {
int __real_FCGX_OpenSocket(const char*, int);

/** The web service's fixed path is the camera's; here its socket stands in the test's folder. */
int __wrap_FCGX_OpenSocket(const char*, int backlog) {
    return __real_FCGX_OpenSocket(kSocket, backlog);
}
}

namespace {

using texts = std::vector<std::string>;

class AppMainTest : public core_in_child {
  protected:
    static void wait_for_sigterm_after_passes(int passes) {
        recording_larod::on_inference([passes, count = 0]() mutable {
            if (++count == passes)
                kill(getpid(), SIGTERM);
        });
    }

    static bool listens(const char* path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
        const int client = socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected = connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(client);
        return connected;
    }
};

TEST_F(AppMainTest, TheWordsStartAsTheyShould) {
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

TEST_F(AppMainTest, MemoryIsLoggedInKilobytes) {
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

TEST_F(AppMainTest, SignalsAreSetAsTheyShould) {
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

TEST_F(AppMainTest, SigtermBeforeTheLoopEndsWithStatus1) {
    EXPECT_EQ(status_of_child([] {
                  init_signals();
                  raise(SIGTERM);
                  return 0;
              }),
              1);
}

TEST_F(AppMainTest, SigtermWithALoopRemovesTheTimeoutAndQuits) {
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

TEST_F(AppMainTest, TheSettingsReachTheDetector) {
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

TEST_F(AppMainTest, Only90And270ArePortraitWithItsModel) {
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

TEST_F(AppMainTest, RunsUntilSigtermAndWritesItsLastLines) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("MaxDisappeared", "17");
                  wait_for_sigterm_after_passes(3);
                  int32_t status_in_start_up = 0;
                  recording_axoverlay::on_redraw([&status_in_start_up] {
                      if (gp_Loop == nullptr)
                          status_in_start_up = g_StatusCode;
                  });
                  const int result = korvex_orvel_main();
                  recording_axoverlay::on_redraw({});
                  EXPECT_EQ(status_in_start_up, 100);
                  EXPECT_EQ(recording_larod::recorder().calls("larodRunInference").size(), 3U)
                      << "no pass after the signal";
                  EXPECT_EQ(g_ThreadID, 0U);
                  EXPECT_EQ(g_Tracker.m_MaxDisappeared, 17);
                  EXPECT_FALSE(listens(kSocket)) << "the web service has ended";
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

TEST_F(AppMainTest, AWebThreadThatCannotBeHadEndsTheStart) {
    EXPECT_EQ(status_of_child([] {
                  failing_libc::fail("pthread_create", EAGAIN);
                  const int result = korvex_orvel_main();
                  EXPECT_EQ(result, -1);
                  EXPECT_EQ(g_StatusCode, 50);
                  EXPECT_EQ(gp_Loop, nullptr);
                  EXPECT_EQ(recording_syslog::recorder().journal().back(),
                            call_line("syslog", LOG_ERR, "Failed to create thread\n"));
                  return result;
              }),
              255);
}

TEST_F(AppMainTest, StartsWithoutAStoreAndWaitsForTheAgreement) {
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

TEST_F(AppMainTest, TheSettingsReachTheArea) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("DetectionControlPoints", "6");
                  fake_axparameter::put("Detection15x", "15");
                  fake_axparameter::put("Detection15y", "16");
                  fake_axparameter::put("Exclusion21x", "21");
                  fake_axparameter::put("Exclusion21y", "22");
                  fake_axparameter::put("Exclusion1Active", "true");
                  start();
                  const t_Polygon area = g_AreaofInterest.get_detection(1);
                  EXPECT_EQ(area.size(), 6U);
                  EXPECT_THAT(area.at(5), Pair(15, 16));
                  const t_Polygon zone = g_AreaofInterest.get_exclusion(2);
                  EXPECT_EQ(zone.size(), 4U);
                  EXPECT_THAT(zone.at(1), Pair(21, 22));
                  EXPECT_TRUE(g_AreaofInterest.get_exclusion_active(1));
                  EXPECT_FALSE(g_AreaofInterest.get_exclusion_active(2));
                  return 0;
              }),
              0);
}

TEST_F(AppMainTest, EachOverlayStreamIsSelectedWhenItIsSwitchedOn) {
    const struct {
        bool on;
        std::string size;
        std::pair<uint32_t, uint32_t> selected;
    } table[] = {{true, "1280x720", {1280, 720}},
                 {false, "1280x720", {0, 0}},
                 {true, "0x0", {0, 0}},
                 {false, "0", {0, 0}},
                 {true, "0", {0, 0}},
                 {true, "", {0, 0}}};
    for (const auto& [on, size, selected] : table) {
        SetOverlayStreamResolution(1, 2);
        g_ConfigParams.b_DetectionOverlaysOn = on;
        g_ConfigParams.str_DetectionOverlay = size;
        g_ConfigParams.b_AnonOverlaysOn = false;
        init_overlay_manager();
        EXPECT_NE(g_overlayManager, nullptr);
        EXPECT_THAT(selected, Pair(g_OverlayInfo.overlayStreamWidth, g_OverlayInfo.overlayStreamHeight)) << size;
        EXPECT_EQ(g_OverlayInfo.anonymizedStreamWidth, 0U);

        SetAnonymizedStreamResolution(3, 4);
        g_ConfigParams.b_DetectionOverlaysOn = false;
        g_ConfigParams.b_AnonOverlaysOn = on;
        g_ConfigParams.str_AnonOverlay = size;
        init_overlay_manager();
        EXPECT_THAT(selected, Pair(g_OverlayInfo.anonymizedStreamWidth, g_OverlayInfo.anonymizedStreamHeight)) << size;
        EXPECT_EQ(g_OverlayInfo.overlayStreamWidth, 0U);
    }
    g_overlayManager.reset();
    g_OverlayInfo = {};
    g_ConfigParams = {};
}

TEST_F(AppMainTest, TheSceneBeginsAnew) {
    g_Tracker.m_NextObjectId = 7;
    g_Id2Time[3] = {};
    init_logic(33);
    EXPECT_EQ(g_Tracker.m_MaxDisappeared, 33);
    EXPECT_EQ(g_Tracker.m_NextObjectId, 0);
    EXPECT_THAT(g_Id2Time, IsEmpty());
}

TEST_F(AppMainTest, TheFirstPassComesAPeriodAfterTheStart) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("MainLoopTime", "500");
                  Timer since_start;
                  recording_larod::on_inference([&since_start] {
                      since_start.tock();
                      kill(getpid(), SIGTERM);
                  });
                  const int result = korvex_orvel_main();
                  EXPECT_GE(since_start.elapsed(), 500);
                  return result;
              }),
              0);
}

TEST_F(AppMainTest, WithAPeriodOfZeroEveryPassIsSlowAndSigtermStillEnds) {
    EXPECT_EQ(status_of_child([] {
                  fake_axparameter::put("MainLoopTime", "0");
                  wait_for_sigterm_after_passes(3);
                  const int result = korvex_orvel_main();
                  EXPECT_EQ(g_StatusCode, 600);
                  return result;
              }),
              0);
}

TEST_F(AppMainTest, TheSystemsLogGetsTheBannerAndTheWebThreadsTrace) {
    EXPECT_EQ(status_of_child([] {
                  recording_larod::on_inference([] {
                      if (!recording_syslog::recorder().calls(call_line("syslog", LOG_ERR)).empty() && listens(kSocket))
                          kill(getpid(), SIGTERM);
                  });
                  const int result = korvex_orvel_main();
                  EXPECT_THAT(recording_syslog::recorder().journal(),
                              ElementsAre(call_line("openlog", "korvex_orvel", LOG_PID | LOG_CONS, LOG_USER),
                                          call_line("syslog", LOG_INFO,
                                                    "*** To view Korvex Orvel log messages click on 'View Log' button "
                                                    "on 'Advanced' tab of Orvel ACAP web page ***"),
                                          call_line("syslog", LOG_ERR, "webservices_thread_fcn 1"), "closelog"));
                  return result;
              }),
              0);
}

} // namespace
