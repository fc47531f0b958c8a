#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace platform {

/** Owns a number that stands for something of the system's, until `Release` gives that back; -1 is none. */
template <auto Release>
class Owned {
  public:
    Owned() = default;
    explicit Owned(int number) : m_number(number) {}
    ~Owned() { reset(); }
    Owned(Owned&& other) noexcept : m_number(other.release()) {}
    Owned& operator=(Owned&& other) noexcept {
        if (this != &other) {
            reset();
            m_number = other.release();
        }
        return *this;
    }

    int get() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }
    /** The caller's from now on. */
    int release() { return std::exchange(m_number, -1); }
    void reset() {
        if (m_number >= 0)
            Release(release());
    }

  private:
    int m_number = -1;
};

/** A file descriptor. */
using Descriptor = Owned<close>;

inline void end_process(int process) {
    kill(process, SIGKILL); // it may be stopped, or deaf
    waitpid(process, nullptr, 0);
}
/** A child process, which ends with its owner, whatever it does. */
using Child = Owned<end_process>;

} // namespace platform
