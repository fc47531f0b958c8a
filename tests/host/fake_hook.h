#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/** A port of the loopback that takes one request after the other, on a thread of its own, and answers as it is told. */
class FakeHook {
  public:
    FakeHook();
    ~FakeHook();
    FakeHook(const FakeHook&) = delete;
    FakeHook& operator=(const FakeHook&) = delete;

    std::string url() const;
    /** The status of every answer from now on, 204 at first; 0: the request is read and never answered. */
    void answer(int status);
    /** Waits up to 10 s for so many requests; what came until then, head and body. */
    std::vector<std::string> requests(size_t count);

  private:
    void run();
    void serve(int client);

    int m_listener;
    int m_port = 0;
    std::mutex m_lock; // guards the next four
    std::condition_variable m_changed;
    std::vector<std::string> m_requests;
    int m_status = 204;
    bool m_ending = false;
    std::thread m_thread;
};
