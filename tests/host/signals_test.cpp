#include "host/signals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace {

using console::Signals;

TEST(Signals, EachThatAsksForTheEndIsHeard) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_DFL);
        Signals signals;
        EXPECT_FALSE(signals.asked());
        raise(number);
        signals.wait(-1);
        EXPECT_TRUE(signals.asked()) << number;
        EXPECT_TRUE(signals.asked()) << "and not forgotten";
    }
}

TEST(Signals, ThoseThatCameAtOnceEndNothingAfterwards) {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGHUP, SIG_DFL);
    {
        const Signals signals;
        raise(SIGINT);
        raise(SIGHUP);
    }
    SUCCEED() << "this process still runs";
}

TEST(Signals, TheEndOfAChildEndsTheWaitAndAsksForNothing) {
    Signals signals;
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    signals.wait(-1);
    EXPECT_FALSE(signals.asked());
    waitpid(child, nullptr, 0);
}

TEST(Signals, AnotherDescriptorEndsTheWaitToo) {
    Signals signals;
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[1]);
    signals.wait(-1, ends[0]);
    close(ends[0]);
    signals.wait(1);
    EXPECT_FALSE(signals.asked());
}

TEST(Signals, OneThatWasIgnoredStaysSo) {
    std::signal(SIGHUP, SIG_IGN);
    {
        Signals signals;
        raise(SIGHUP);
        EXPECT_FALSE(signals.asked());
    }
    std::signal(SIGHUP, SIG_DFL);
}

} // namespace
