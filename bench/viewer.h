#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

namespace bench {

/** Somebody who watches a stream: a thread that reads it and throws it away, until the end of this object. */
class Viewer {
  public:
    /** `address` is like "127.0.0.1:8080", `path` like "/stream/1280x720.mjpg". Throws std::runtime_error. */
    Viewer(const std::string& address, const std::string& path);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    /** Received so far. */
    std::size_t bytes() const { return m_bytes; }
    /** Begun so far; those are not counted whose first bytes are divided between two reads. */
    std::size_t pictures() const { return m_pictures; }
    /** Waits until the stream delivers pictures. Throws std::runtime_error when it does not within 10 s. */
    void wait_for_pictures() const;

  private:
    int m_socket;
    std::atomic<std::size_t> m_bytes{0};
    std::atomic<std::size_t> m_pictures{0};
    std::thread m_reader;
};

/** Somebody who asks for a stream and reads nothing of it. When he is dropped for that he asks again. */
class StalledViewer {
  public:
    /** As for Viewer. */
    StalledViewer(const std::string& address, const std::string& path);
    ~StalledViewer();
    StalledViewer(const StalledViewer&) = delete;
    StalledViewer& operator=(const StalledViewer&) = delete;

  private:
    std::atomic<bool> m_ending{false};
    std::thread m_waiter;
};

} // namespace bench
