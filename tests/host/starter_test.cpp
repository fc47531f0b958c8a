#include "host/starter.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace {

/** A process that does `what` and then waits for a signal. Its id is told through a pipe once it waits. */
pid_t process_that(const std::function<void()>& what) {
    int ready[2];
    if (pipe(ready) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        what();
        if (write(ready[1], "r", 1) != 1)
            _exit(99);
        while (true)
            pause();
    }
    close(ready[1]);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    return child;
}

void end(pid_t process) {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

int status_of_end(pid_t process) {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return status;
}

void bind_to(pid_t starter) {
    setenv("KORVEX_STARTER", std::to_string(starter).c_str(), 1);
    console::end_with_starter();
}

class Starter : public testing::Test {
  protected:
    ~Starter() override { unsetenv("KORVEX_STARTER"); }
};

TEST_F(Starter, WhoWasStartedEndsByASignalOnceTheStarterIsGone) {
    const pid_t starter = process_that([] {});
    const pid_t bound = process_that([&] { bind_to(starter); });
    EXPECT_EQ(waitpid(bound, nullptr, WNOHANG), 0) << "while it is there nothing happens";
    end(starter);
    const int status = status_of_end(bound);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
}

TEST_F(Starter, WhoDoesNotEndByTheSignalEndsAllTheSame) {
    const pid_t starter = process_that([] {});
    const pid_t bound = process_that([&] {
        signal(SIGTERM, SIG_IGN);
        bind_to(starter);
    });
    end(starter);
    const int status = status_of_end(bound);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 143) << status;
}

TEST_F(Starter, AStarterThatIsGoneAlreadyCounts) {
    const pid_t starter = process_that([] {});
    end(starter);
    const pid_t bound = fork();
    if (bound == 0) {
        bind_to(starter);
        _exit(0);
    }
    const int status = status_of_end(bound);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
}

TEST_F(Starter, TheEndOfAParentThatIsAnotherCountsToo) {
    int told[2];
    ASSERT_EQ(pipe(told), 0);
    const pid_t test = getpid();
    const pid_t between = process_that([&] {
        process_that([&] { bind_to(test); });
        close(told[0]);
    });
    close(told[1]);
    end(between);
    // The pipe has its end once nobody holds its other one.
    char byte = 0;
    EXPECT_EQ(read(told[0], &byte, 1), 0);
    close(told[0]);
}

TEST_F(Starter, WithoutAStarterNothingHappens) {
    unsetenv("KORVEX_STARTER");
    console::end_with_starter();
    setenv("KORVEX_STARTER", "", 1);
    console::end_with_starter();
}

TEST_F(Starter, WhatIsNoProcessIdIsRefused) {
    for (const char* text : {"x", "0", "-1", "12 ", "99999999999"}) {
        setenv("KORVEX_STARTER", text, 1);
        EXPECT_THROW(console::end_with_starter(), std::runtime_error) << text;
    }
}

} // namespace
