#pragma once

#include "tests/platform/axevent/scratch.h"
#include "tests/support/becomes_true.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

/** How long a test waits for what must come; generous, since the machine may be busy. */
inline constexpr std::chrono::seconds patience{20};

/** A program whose stdout the test reads; killed with the object. */
class Process {
  public:
    enum class Stderr { shown, dropped };

    explicit Process(const std::vector<std::string>& arguments, Stderr what = Stderr::shown);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /** The next line; nothing at the end of its output or after `patience`. */
    std::optional<std::string> line();
    /** Sends a signal and waits for the end. */
    void end(int signal);
    /** Waits for the end; gives the exit code. */
    int wait();

  private:
    pid_t m_pid = -1;
    int m_output = -1;
    std::string m_read;
};

/** Runs a program to its end and gives the lines it wrote. */
std::vector<std::string> output_of(const std::vector<std::string>& arguments);

/**
 * A mosquitto on a free port of the loopback interface. It keeps what it knows over a stop and a start, unless it is
 * told to forget.
 */
class Broker {
  public:
    /** `configuration`: further lines; they may say %DIR% for the broker's directory. */
    explicit Broker(const std::string& configuration = "allow_anonymous true\n");

    void start();
    void stop();
    void forget();

    int port() const { return m_port; }
    std::string address() const { return "127.0.0.1:" + std::to_string(m_port); }
    const TemporaryFolder& directory() const { return m_directory; }

    /** What a program subscribed to `filter` gets at once: "<topic> <payload>". */
    std::vector<std::string> retained(const std::string& filter, int count) const;

  private:
    TemporaryFolder m_directory;
    int m_port;
    std::unique_ptr<Process> m_process;
};

/** A subscriber whose session outlasts the broker's absence, so that it misses nothing. */
class Watcher {
  public:
    explicit Watcher(const Broker& broker);

    /** The next message that is news, not a retained one of old: "<topic> <payload>". */
    std::optional<std::string> message();
    /** Reads on to this message; false when it does not come. */
    bool hears(const std::string& wanted);
    /** The next news whose topic ends with "/state": "<last topic level but one> <ON or OFF>". */
    std::optional<std::string> state();
    /** That many of them. */
    std::vector<std::string> states(int count);
    /**
     * The same, without those that came before, to the same millisecond: after an interruption both the sender and the
     * broker may repeat what was under way.
     */
    std::vector<std::string> new_states(int count);

  private:
    std::unique_ptr<Process> m_process;
    std::set<std::string> m_known;
};

int free_port();
