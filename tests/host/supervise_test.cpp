#include "host/supervise.h"
#include "tests/host/runner_fixture.h"

#include <sys/wait.h>

#include <csignal>

namespace {

using console::Program;
using console::Signals;
using console::supervise;
using console::supervise_behind_view;

constexpr std::chrono::milliseconds short_patience{200};

/** In the place of bwrap: takes its options, tells its child's process id, and gives that one's status. */
constexpr const char* view_script = R"(#!/bin/sh
[ "$1" = --info-fd ] || exit 99
info=$2
shift 2
"$@" &
sleep 0.1
printf '{ "child-pid": %s, "x": 1' $! >/proc/self/fd/$info
printf ' }' >/proc/self/fd/$info
while wait $!; status=$?; kill -0 $! 2>/dev/null; do :; done
exit $status
)";

class Supervise : public RunnerTest {
  protected:
    /** This process asks itself to end once the program has written `ready`. */
    static void ask_once_ready(const std::string& ready) {
        const pid_t test = getpid();
        if (fork() == 0) {
            await_contents(ready);
            kill(test, SIGTERM);
            _exit(0);
        }
    }

    Program behind_view(const std::string& commands) const {
        std::filesystem::permissions(file("view", view_script), std::filesystem::perms::owner_all);
        Program program = shell(commands);
        program.command.insert(program.command.begin(), path("view"));
        return program;
    }

    /** Tells that it is there, and how it is asked; `status` is its answer. */
    std::string asked_program(int status) const {
        return "trap 'echo asked >>" + path("asked") + "; exit " + std::to_string(status) + "' TERM; echo $$ >" +
               path("ready") + "; while :; do sleep 0.05; done";
    }

    Signals m_signals;
};

TEST_F(Supervise, GivesTheProgramsStatus) {
    EXPECT_EQ(supervise(shell("exit 7"), m_signals), 7);
    EXPECT_FALSE(m_signals.asked());
    EXPECT_EQ(supervise_behind_view(behind_view("exit 7"), m_signals), 7);
}

TEST_F(Supervise, AsksTheProgramOnceByTermWhateverThisCommandWasAskedBy) {
    ask_once_ready(path("ready"));
    EXPECT_EQ(supervise(shell(asked_program(3)), m_signals), 3);
    EXPECT_EQ(console::contents_of(path("asked")), "asked\n");
    EXPECT_TRUE(m_signals.asked());
}

TEST_F(Supervise, AsksTheProgramItselfBehindAView) {
    ask_once_ready(path("ready"));
    EXPECT_EQ(supervise_behind_view(behind_view(asked_program(3)), m_signals), 3);
    EXPECT_EQ(console::contents_of(path("asked")), "asked\n");
}

TEST_F(Supervise, WhatWasAskedBeforeThereWasAProgramCounts) {
    raise(SIGTERM);
    EXPECT_EQ(supervise(shell("exec sleep 100"), m_signals), 128 + SIGTERM);
}

TEST_F(Supervise, WhatWasAskedBeforeTheProgramWasKnownCounts) {
    raise(SIGTERM);
    EXPECT_EQ(supervise_behind_view(behind_view("exec sleep 100"), m_signals), 128 + SIGTERM);
}

TEST_F(Supervise, KillsAProgramThatDoesNotEnd) {
    for (const bool is_behind_view : {false, true}) {
        const std::string deaf = "trap '' TERM; echo $$ >" + path("ready") + "; while :; do sleep 0.05; done";
        ask_once_ready(path("ready"));
        testing::internal::CaptureStderr();
        const int status = is_behind_view ? supervise_behind_view(behind_view(deaf), m_signals, short_patience)
                                          : supervise(shell(deaf), m_signals, short_patience);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "The application did not end within 5 s of being asked; it is killed.\n");
        EXPECT_EQ(status, 128 + SIGKILL);
        EXPECT_TRUE(ends(std::stoi(console::contents_of(path("ready")))));
        std::filesystem::remove(path("ready"));
    }
}

TEST_F(Supervise, TheProgramEndsWithThisCommandHoweverThatEnds) {
    const pid_t command = console::make_child();
    if (command == 0)
        _exit(supervise(shell("echo $$ >" + path("ready") + "; exec sleep 100"), m_signals));
    const pid_t program = std::stoi(await_contents(path("ready")));
    kill(command, SIGKILL);
    waitpid(command, nullptr, 0);
    EXPECT_TRUE(ends(program));
}

} // namespace
