#include "host/supervise.h"

#include "host/refusal.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace console {
namespace {

using Clock = std::chrono::steady_clock;

/**
 * The program and what stands between it and this command.
 *
 *     runs --(asked)--> asked: SIGTERM, as soon as the program is known --(patience is over)--> killed: SIGKILL
 *
 * and from each of them to its end.
 */
class Supervision {
  public:
    /** `program` is 0 while it is not known; then bwrap tells it through `told`. */
    Supervision(pid_t main, pid_t program, Descriptor told, std::chrono::milliseconds patience)
        : main_(main), program_(program), told_(std::move(told)), patience_(patience) {}

    int run(Signals& signals) {
        while (true) {
            if (signals.asked() && !asked_at_) {
                asked_at_ = Clock::now();
                ask();
            }
            if (const std::optional<int> status = status_of_ended(main_))
                return *status;
            if (program_ == 0)
                hear_of_program();
            signals.wait(milliseconds_left(), told_.get());
        }
    }

  private:
    void ask() const {
        if (program_ > 0)
            kill(program_, SIGTERM);
    }

    /** Until the time to kill; kills then. -1: no limit. */
    int milliseconds_left() {
        if (!asked_at_ || is_killed_)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*asked_at_ + patience_ - Clock::now());
        if (left.count() > 0)
            return static_cast<int>(left.count());
        say("The application did not end within 5 s of being asked; it is killed.");
        if (program_ > 0)
            kill(program_, SIGKILL);
        kill(main_, SIGKILL);
        is_killed_ = true;
        return -1;
    }

    /** {"child-pid": 123, ...} comes in one or more pieces. */
    void hear_of_program() {
        std::array<char, 256> piece{};
        const ssize_t length = read(told_.get(), piece.data(), piece.size());
        if (length < 0)
            return; // nothing yet
        text_.append(piece.data(), static_cast<size_t>(length));
        const bool is_whole = text_.find('}') != std::string::npos;
        const std::string name = "\"child-pid\":";
        const size_t found = text_.find(name);
        if (is_whole && found != std::string::npos) {
            program_ = static_cast<pid_t>(std::strtol(text_.c_str() + found + name.size(), nullptr, 10));
            if (asked_at_)
                ask();
        }
        if (is_whole || length == 0)
            told_.reset();
    }

    const pid_t main_;
    pid_t program_;
    Descriptor told_;
    const std::chrono::milliseconds patience_;
    std::string text_;
    std::optional<Clock::time_point> asked_at_;
    bool is_killed_ = false;
};

} // namespace

int supervise(const Program& program, Signals& signals, std::chrono::milliseconds patience) {
    const pid_t process = start(program);
    return Supervision(process, process, Descriptor(), patience).run(signals);
}

int supervise_behind_view(Program bwrap, Signals& signals, std::chrono::milliseconds patience) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw Refusal(std::string("no pipe can be made: ") + std::strerror(errno) + ".");
    Descriptor told(ends[0]);
    Descriptor telling(ends[1]);
    fcntl(told.get(), F_SETFL, O_NONBLOCK);
    const std::vector<std::string> info = {"--info-fd", std::to_string(telling.get())};
    bwrap.command.insert(bwrap.command.begin() + 1, info.begin(), info.end());
    bwrap.kept = telling.get();
    const pid_t main = start(bwrap);
    telling.reset();
    return Supervision(main, 0, std::move(told), patience).run(signals);
}

} // namespace console
