#pragma once

#include <unistd.h>

#include <utility>

namespace korvex::larod {

/** Owns a file descriptor; -1 is none. */
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    void reset() {
        if (m_fd >= 0)
            close(std::exchange(m_fd, -1));
    }

  private:
    int m_fd = -1;
};

} // namespace korvex::larod
