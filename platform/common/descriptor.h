#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/** Owns a file descriptor; -1 is none. */
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_fd = other.release();
        }
        return *this;
    }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    /** The caller's from now on. */
    int release() { return std::exchange(m_fd, -1); }
    void reset() {
        if (m_fd >= 0)
            close(release());
    }

  private:
    int m_fd = -1;
};

} // namespace platform
