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
    Supervision(pid_t main, pid_t program, platform::Descriptor told, std::chrono::milliseconds patience)
        : m_main(main), m_program(program), m_told(std::move(told)), m_patience(patience) {}

    int run(Signals& signals) {
        while (true) {
            if (signals.asked() && !m_asked_at) {
                m_asked_at = Clock::now();
                ask();
            }
            if (const std::optional<int> status = status_of_ended(m_main))
                return *status;
            if (m_program == 0)
                hear_of_program();
            signals.wait(milliseconds_left(), m_told.get());
        }
    }

  private:
    void ask() const {
        if (m_program > 0)
            kill(m_program, SIGTERM);
    }

    /** Until the time to kill; kills then. -1: no limit. */
    int milliseconds_left() {
        if (!m_asked_at || m_is_killed)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_asked_at + m_patience - Clock::now());
        if (left.count() > 0)
            return static_cast<int>(left.count());
        say("The application did not end within 5 s of being asked; it is killed.");
        if (m_program > 0)
            kill(m_program, SIGKILL);
        kill(m_main, SIGKILL);
        m_is_killed = true;
        return -1;
    }

    /** {"child-pid": 123, ...} comes in one or more pieces. */
    void hear_of_program() {
        std::array<char, 256> piece{};
        const ssize_t length = read(m_told.get(), piece.data(), piece.size());
        if (length < 0)
            return; // nothing yet
        m_text.append(piece.data(), static_cast<size_t>(length));
        const bool is_whole = m_text.find('}') != std::string::npos;
        const std::string name = "\"child-pid\":";
        const size_t found = m_text.find(name);
        if (is_whole && found != std::string::npos) {
            m_program = static_cast<pid_t>(std::strtol(m_text.c_str() + found + name.size(), nullptr, 10));
            if (m_asked_at)
                ask();
        }
        if (is_whole || length == 0)
            m_told.reset();
    }

    const pid_t m_main;
    pid_t m_program;
    platform::Descriptor m_told;
    const std::chrono::milliseconds m_patience;
    std::string m_text;
    std::optional<Clock::time_point> m_asked_at;
    bool m_is_killed = false;
};

} // namespace

int supervise(const Program& program, Signals& signals, std::chrono::milliseconds patience) {
    const pid_t process = start(program);
    return Supervision(process, process, platform::Descriptor(), patience).run(signals);
}

int supervise_behind_view(Program bwrap, Signals& signals, std::chrono::milliseconds patience) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw Refusal(std::string("no pipe can be made: ") + std::strerror(errno) + ".");
    platform::Descriptor told(ends[0]);
    platform::Descriptor telling(ends[1]);
    fcntl(told.get(), F_SETFL, O_NONBLOCK);
    const std::vector<std::string> info = {"--info-fd", std::to_string(telling.get())};
    bwrap.command.insert(bwrap.command.begin() + 1, info.begin(), info.end());
    bwrap.kept = telling.get();
    const pid_t main = start(bwrap);
    telling.reset();
    return Supervision(main, 0, std::move(told), patience).run(signals);
}

} // namespace console
