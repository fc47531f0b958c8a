#pragma once

#include "base/thread_safety.h"

#include <chrono>
#include <condition_variable>
#include <thread>

/** How long a client may hold the service, which has one at a time. */
struct client_times {
    /** Between two bytes of a body or an answer; a web server may stall that long on a busy camera. */
    std::chrono::milliseconds patience{5000};
    /** For the head of a request, which a web server sends at once. */
    std::chrono::milliseconds head{10000};
    /** For all the rest: after a minute nobody waits for an answer any more; a save on slow storage takes longest. */
    std::chrono::milliseconds answer{60000};
};

/** A client that does not send its body (SO_RCVTIMEO) or take its answer (SO_SNDTIMEO) must not hold up the others. */
void limit_waiting(int connection, int direction, std::chrono::milliseconds patience);

/**
 * Ends the connection of a client that holds the service too long, from a thread of its own: libfcgi reads the head of
 * a request before it tells of the connection, and empties a connection before it closes it, both for as long as the
 * client likes; and the patience begins anew with every byte.
 *
 * libfcgi writes the connection's descriptor without a lock, and a word is read here. One that is closed in the very
 * moment in which its time is up may be another's already; that is one broken connection, and no more.
 */
class client_watch {
  public:
    /** `connection`: the descriptor, -1 for none; it outlives the watch. `first`: what a client may take at first. */
    client_watch(const int& connection, std::chrono::milliseconds first);
    ~client_watch();
    client_watch(const client_watch&) = delete;
    client_watch& operator=(const client_watch&) = delete;

    /** From now on, a client may stay that long. */
    void allow(std::chrono::milliseconds time);

  private:
    void watch();

    const int& m_connection;
    const std::chrono::milliseconds m_step; // between two looks
    annotated_mutex m_mutex;
    std::chrono::milliseconds m_allowed GUARDED_BY(m_mutex);
    std::chrono::milliseconds m_left GUARDED_BY(m_mutex);
    bool m_ended GUARDED_BY(m_mutex) = false;
    std::condition_variable m_end;
    std::thread m_thread;
};
