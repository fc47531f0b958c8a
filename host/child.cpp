#include "host/child.h"

#include "host/refusal.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace console {
namespace {

constexpr int not_run_status = 127;

/** Words as execvpe() takes them; they must outlive what is given. */
std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> all;
    all.reserve(words.size() + 1);
    for (std::string& word : words)
        all.push_back(word.data());
    all.push_back(nullptr);
    return all;
}

/** dup2() clears FD_CLOEXEC, but for a descriptor that is in its place already. */
void keep(int descriptor, int place) {
    if (descriptor == place)
        fcntl(descriptor, F_SETFD, 0);
    else
        dup2(descriptor, place);
}

} // namespace

void set_apart() {
    setsid();
    const platform::Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO);
}

void set_niceness(int niceness) {
    setpriority(PRIO_PROCESS, 0, niceness);
    const platform::Descriptor group(open("/proc/self/autogroup", O_WRONLY | O_CLOEXEC));
    if (group.get() >= 0)
        dprintf(group.get(), "%d", niceness);
}

void end_with_parent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent)
        _exit(asked_status);
}

pid_t make_child() {
    const pid_t child = fork();
    if (child < 0)
        throw Refusal(std::string("no process can be started: ") + std::strerror(errno) + ".");
    return child;
}

void become(const Program& program) noexcept {
    std::vector<std::string> words = program.command;
    std::vector<std::string> variables;
    for (const auto& [name, value] : program.environment)
        variables.emplace_back(name).append("=").append(value);
    if (program.is_apart)
        set_apart();
    if (program.niceness)
        set_niceness(*program.niceness);
    keep(program.out, STDOUT_FILENO);
    keep(program.err, STDERR_FILENO);
    if (program.kept >= 0)
        keep(program.kept, program.kept);
    let_signals_in();
    if (program.folder.empty() || chdir(program.folder.c_str()) == 0)
        execvpe(words[0].c_str(), pointers(words).data(), pointers(variables).data());
    dprintf(STDERR_FILENO, "%s: %s\n", words[0].c_str(), std::strerror(errno));
    _exit(not_run_status);
}

pid_t start(const Program& program) {
    const pid_t parent = getpid();
    const pid_t child = make_child();
    if (child == 0) {
        end_with_parent(parent);
        become(program);
    }
    return child;
}

std::optional<int> status_of_ended(pid_t process) {
    int status = 0;
    if (waitpid(process, &status, WNOHANG) != process)
        return std::nullopt;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

namespace {

int wait_for(pid_t child, Signals& signals) {
    while (true) {
        if (signals.asked()) {
            kill(child, SIGTERM);
            waitpid(child, nullptr, 0);
            throw Ending{asked_status};
        }
        if (const std::optional<int> status = status_of_ended(child))
            return *status;
        signals.wait(-1);
    }
}

} // namespace

int run_to_end(const Program& program, Signals& signals) {
    return wait_for(start(program), signals);
}

std::string output_of(Program program, Signals& signals) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw Refusal(std::string("no pipe can be made: ") + std::strerror(errno) + ".");
    const platform::Descriptor reading(ends[0]);
    platform::Descriptor writing(ends[1]);
    program.out = writing.get();
    const pid_t child = start(program);
    writing.reset();
    // A value or two: they fit into the pipe, and are read when the program has ended.
    const int status = wait_for(child, signals);
    if (status != 0)
        throw Ending{1};
    std::array<char, 4096> buffer{};
    const ssize_t length = read(reading.get(), buffer.data(), buffer.size());
    std::string text(buffer.data(), length > 0 ? static_cast<size_t>(length) : 0);
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

} // namespace console
