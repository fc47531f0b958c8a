#include "platform/axparameter/settler.h"
#include "tests/support/becomes_true.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace {

using namespace std::chrono_literals;
using host_parameters::Settler;

TEST(ParameterSettler, SettlesOnceAfterTheLastOfManyWrites) {
    std::atomic<int> settled = 0;
    Settler settler([&] { ++settled; }, 200ms);
    for (int i = 0; i < 50; ++i)
        settler.written();
    ASSERT_TRUE(becomes_true([&] { return settled > 0; }));
    settler.written();
    ASSERT_TRUE(becomes_true([&] { return settled > 1; }));
    EXPECT_LT(settled, 25) << "of 51 writes";
}

TEST(ParameterSettler, EndsAtOnceWithoutSettlingWhatNobodyWaitsFor) {
    bool settled = false;
    {
        Settler settler([&] { settled = true; }, 1h);
        settler.written();
    }
    EXPECT_FALSE(settled);
}

TEST(ParameterSettler, ItsThreadBlocksEverySignal) {
    std::atomic<bool> done = false;
    sigset_t blocked;
    Settler settler(
        [&] {
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            done = true;
        },
        1ms);
    settler.written();
    ASSERT_TRUE(becomes_true([&] { return done.load(); }));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGCHLD})
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
}

} // namespace
