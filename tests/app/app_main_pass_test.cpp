// The analysis pass and the status that it leaves.

#include "app/app_main.h"
#include "output/event_manager.h"
#include "scene/clock.h"
#include "tests/app/core_in_child.h"
#include "tests/doubles/recording_axoverlay.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <string>
#include <thread>

using testing::IsEmpty;

namespace {

class AppMainPassTest : public core_in_child {
  protected:
    /** The whole frame is the area, every alert comes after 0 seconds, and each pass sees the same car. */
    static void start_with_a_car_in_the_area() {
        for (const char* name : {"DetectCars", "Alert1Active", "Alert2Active", "Alert3Active"})
            fake_axparameter::put(name, "true");
        fake_axparameter::put("MinNumberOfPeopleForTrigger", "1");
        fake_axparameter::put("DetectionControlPoints", "4");
        for (const char* name : {"Detection11x", "Detection12x"})
            fake_axparameter::put(name, "1280");
        for (const char* name : {"Detection12y", "Detection13y"})
            fake_axparameter::put(name, "720");
        start();
        init_overlay_manager();
        init_event_manager();
        g_LocationController.m_IterationTime = 1000000;
        recording_larod::set_outputs({{{0.25F, 0.25F, 0.75F, 0.75F}, {2}, {0.9F}, {1}}});
    }
};

TEST_F(AppMainPassTest, WithoutTheAgreementAPassDoesNothing) {
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

TEST_F(AppMainPassTest, APassInTimeIs200AndASlowOne600) {
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

TEST_F(AppMainPassTest, APassThatTakesTwoPeriodsIsSlow) {
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

TEST_F(AppMainPassTest, NoPassIsSlowWhereItsTimeDoesNotCount) {
    EXPECT_EQ(status_of_child([] {
                  start();
                  g_LocationController.m_IterationTime = 0;
                  set_pass_time_counts(false);
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(g_StatusCode, 200);
                  set_pass_time_counts(true);
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(g_StatusCode, 600);
                  return 0;
              }),
              0);
}

TEST_F(AppMainPassTest, TheHighestActiveAlertIsTheStatusUnlessThePassIsSlow) {
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

TEST_F(AppMainPassTest, ASetUpThatFailsAnywhereShowsAs400OnEveryPass) {
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
        {"no room for a file", [] { failing_libc::fail("posix_fallocate", ENOSPC, 2); }},
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

TEST_F(AppMainPassTest, AFailedPassEndsBeforeTheOverlaysAndTheNextTriesAgain) {
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

TEST_F(AppMainPassTest, APassGoesFromTheDetectionsToTheAlertsToTheOverlays) {
    EXPECT_EQ(status_of_child([] {
                  start_with_a_car_in_the_area();

                  footings drawn = not_in_AOI;
                  bool alert_when_drawn = false;
                  recording_axoverlay::on_redraw([&drawn, &alert_when_drawn] {
                      drawn = g_findings.size() == 1 ? g_findings.front().footing : not_in_AOI;
                      alert_when_drawn = g_EventManager->isEventStarted("Korvex Orvel Third Alert");
                  });
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(drawn, in_AOI1_briefly) << "the pass that finds a car draws it";
                  EXPECT_EQ(g_StatusCode, 200);
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(drawn, in_AOI1_most_lengthily);
                  EXPECT_TRUE(alert_when_drawn) << "in the pass in which the car has stayed long enough";
                  EXPECT_EQ(g_StatusCode, 504);
                  recording_axoverlay::on_redraw({});
                  return 0;
              }),
              0);
}

TEST_F(AppMainPassTest, NoOtherThreadSeesFindingsWithoutTheirSeconds) {
    EXPECT_EQ(status_of_child([] {
                  start_with_a_car_in_the_area();
                  EXPECT_EQ(do_one_analysis(), 0);
                  EXPECT_EQ(do_one_analysis(), 0); // from now on the car has stayed long enough for every alert
                  std::atomic<bool> ended = false;
                  int seen = 0;
                  int half_done = 0;
                  std::thread reader([&] {
                      while (!ended) {
                          const std::scoped_lock lock(g_FindingsMutex);
                          ++seen;
                          half_done +=
                              g_findings.size() == 1 && g_findings[0].footing == in_AOI1_most_lengthily ? 0 : 1;
                      }
                  });
                  for (int i = 0; i < 300; ++i)
                      EXPECT_EQ(do_one_analysis(), 0);
                  ended = true;
                  reader.join();
                  EXPECT_GT(seen, 0);
                  EXPECT_EQ(half_done, 0);
                  return 0;
              }),
              0);
}

TEST_F(AppMainPassTest, NoAlertBelowTheHighestIsAskedAndNoneInASlowPass) {
    using started = std::map<std::string, bool>; // an event that is asked for is noted there
    const std::string first = "Korvex Orvel First Alert";
    const std::string second = "Korvex Orvel Second Alert";
    const std::string third = "Korvex Orvel Third Alert";
    const struct {
        started before;
        started after;
        int period;
        int status;
    } table[] = {
        {{{third, true}}, {{third, true}}, 1000000, 504},
        {{{second, true}}, {{third, false}, {second, true}}, 1000000, 503},
        {{{first, true}}, {{third, false}, {second, false}, {first, true}}, 1000000, 502},
        {{}, {{third, false}, {second, false}, {first, false}}, 1000000, 200},
        {{}, {}, 0, 600},
    };
    EXPECT_EQ(status_of_child([&table] {
                  start();
                  init_overlay_manager();
                  init_event_manager();
                  for (const auto& row : table) {
                      recording_axoverlay::on_redraw([&row] { g_EventManager->m_eventStarted = row.before; });
                      g_LocationController.m_IterationTime = row.period;
                      EXPECT_EQ(do_one_analysis(), 0);
                      EXPECT_EQ(g_EventManager->m_eventStarted, row.after);
                      EXPECT_EQ(g_StatusCode, row.status);
                  }
                  recording_axoverlay::on_redraw({});
                  return 0;
              }),
              0);
}

} // namespace
