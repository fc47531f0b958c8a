#include "host/child.h"
#include "tests/host/runner_fixture.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>

namespace {

using console::output_of;
using console::Program;
using console::run_to_end;
using console::Signals;

class Child : public RunnerTest {
  protected:
    int status(const std::string& commands) { return run_to_end(shell(commands), m_signals); }
    std::string output(const Program& program) { return output_of(program, m_signals); }

    Signals m_signals;
};

TEST_F(Child, GivesItsStatusAsAShellCounts) {
    EXPECT_EQ(status("exit 0"), 0);
    EXPECT_EQ(status("exit 42"), 42);
    EXPECT_EQ(status("kill -KILL $$"), 128 + SIGKILL);
}

TEST_F(Child, ThatCannotBeRunSaysSo) {
    const platform::Descriptor words(open(path("words").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    Program program;
    program.command = {"/no/such/program"};
    program.err = words.get();
    EXPECT_EQ(run_to_end(program, m_signals), 127);
    EXPECT_EQ(console::contents_of(path("words")), "/no/such/program: No such file or directory\n");
}

TEST_F(Child, HasTheEnvironmentAndTheFolderThatItIsGiven) {
    Program program = shell("echo \"$GREETING\"; pwd");
    program.environment["GREETING"] = "hello = you";
    program.folder = folder;
    EXPECT_EQ(output(program), "hello = you\n" + folder.string());
}

TEST_F(Child, WhoseOutputIsWantedMustNotFail) {
    EXPECT_EQ(output(shell("echo one; echo; echo")), "one");
    EXPECT_EQ(output(shell("true")), "");
    EXPECT_THROW(output(shell("echo one; exit 3")), console::Ending);
}

TEST_F(Child, GivesWayAsItIsTold) {
    Program program = shell("nice");
    const int own = getpriority(PRIO_PROCESS, 0);
    EXPECT_EQ(output(program), std::to_string(own));
    const int nicer = std::min(own + 3, 19);
    program.niceness = nicer;
    EXPECT_EQ(output(program), std::to_string(nicer));
}

TEST_F(Child, MayHaveASessionOfItsOwnAndNothingToRead) {
    Program program = shell("cut -d ' ' -f 6 /proc/$$/stat; echo $$; cat");
    program.is_apart = true;
    const std::string ids = output(program);
    EXPECT_EQ(ids.substr(0, ids.find('\n')), ids.substr(ids.find('\n') + 1));
    EXPECT_EQ(output(shell("cut -d ' ' -f 6 /proc/$$/stat")), std::to_string(getsid(0)));
}

TEST_F(Child, HasNoDescriptorButTheOneThatIsKept) {
    const platform::Descriptor mine(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::string look = "test -e /proc/self/fd/" + std::to_string(mine.get());
    EXPECT_EQ(status(look), 1);
    Program program = shell(look);
    program.kept = mine.get();
    EXPECT_EQ(run_to_end(program, m_signals), 0);
}

TEST_F(Child, HearsSignalsThoughThisProcessWaitsWithThem) {
    EXPECT_EQ(status("kill -TERM $$; sleep 10"), 128 + SIGTERM);
}

TEST_F(Child, IsEndedWhenTheEndIsAskedFor) {
    raise(SIGTERM);
    const auto began = std::chrono::steady_clock::now();
    try {
        status("echo $$ >" + path("pid") + "; exec sleep 100");
        ADD_FAILURE() << "it ran on";
    } catch (const console::Ending& ending) {
        EXPECT_EQ(ending.status, 143);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(50));
}

TEST_F(Child, EndsWithTheProcessThatStartedIt) {
    const pid_t between = console::make_child();
    if (between == 0) {
        console::start(shell("echo $$ >" + path("pid") + "; exec sleep 100"));
        pause();
    }
    const pid_t child = std::stoi(await_contents(path("pid")));
    kill(between, SIGKILL);
    waitpid(between, nullptr, 0);
    EXPECT_TRUE(ends(child));
}

} // namespace
