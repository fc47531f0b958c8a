#include "platform/axoverlay/host_recorder.h"
#include "platform/axoverlay/priority.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/http_client.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <thread>

namespace {

struct Priority {
    int policy = 0;
    int niceness = 0;

    bool operator==(const Priority&) const = default;
};

Priority priority_of(pid_t thread) {
    return {sched_getscheduler(thread), getpriority(PRIO_PROCESS, static_cast<id_t>(thread))};
}

/** How many threads of the process, the main one aside, have it. */
int threads_with(const Priority& wanted) {
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        const pid_t thread = std::stoi(task.path().filename());
        count += thread != getpid() && priority_of(thread) == wanted ? 1 : 0;
    }
    return count;
}

class PriorityTest : public test_video::OverlayApplication {
  protected:
    const test_video::LowPriorities obeyed;
    const Priority own = priority_of(getpid());
    const Priority lowest{SCHED_IDLE, 19};
    const Priority low{own.policy, std::min(own.niceness + 10, 19)};
};

TEST_F(PriorityTest, AThreadGivesWayAlone) {
    Priority to_all;
    Priority to_analysis;
    std::thread([&] {
        host_overlay::give_way_to_all();
        to_all = priority_of(gettid());
    }).join();
    std::thread([&] {
        host_overlay::give_way_to_analysis();
        to_analysis = priority_of(gettid());
    }).join();
    EXPECT_EQ(to_all, lowest);
    EXPECT_EQ(to_analysis, low);
    EXPECT_EQ(priority_of(getpid()), own);
}

TEST_F(PriorityTest, WhoMakesPicturesGivesWayToAllAndWhoSendsThemToTheAnalysis) {
    start();
    EXPECT_EQ(threads_with(low), 1);
    http_client::Motion first(address(), "/stream/320x240.mjpg");
    http_client::Motion second(address(), "/stream/640x360.mjpg");
    EXPECT_EQ(first.head().status, 200);
    EXPECT_EQ(second.head().status, 200);
    EXPECT_EQ(threads_with(low), 1);
    EXPECT_EQ(threads_with(lowest), 2);
    EXPECT_EQ(priority_of(getpid()), own);
}

TEST_F(PriorityTest, WhoRecordsGivesWayToAll) {
    const TemporaryFolder scratch;
    const std::string folder = scratch.path();
    host_overlay::RecorderOptions options;
    options.path = folder + "/out.mp4";
    options.width = 320;
    options.height = 240;
    host_overlay::Recorder recorder(options);
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_handed_out() >= 2; }));
    EXPECT_EQ(threads_with(lowest), 1);
    recorder.finish();
}

} // namespace
