#pragma once

#include <memory>

struct pthreadpool;

namespace korvex::larod {

/**
 * How many threads an inference uses: KORVEX_LAROD_THREADS when it is a number from 1 to 64, otherwise half the
 * number of processors, at least 1 and at most 4.
 */
int thread_count();

/**
 * The process's one pool, made for the first owner and destroyed with the last: every loaded model holds it, so that it
 * outlives them all whatever the order of destruction at exit. Its threads block every signal. Null when it cannot be
 * made. Any thread may call it.
 */
std::shared_ptr<pthreadpool> shared_thread_pool();

/** While one lives that says so, kernels that its thread runs use that thread alone and not the pool. */
class ThreadAlone {
  public:
    explicit ThreadAlone(bool alone);
    ~ThreadAlone();
    ThreadAlone(const ThreadAlone&) = delete;
    ThreadAlone& operator=(const ThreadAlone&) = delete;
};

/** What a kernel that has `pool` is to run on in this thread: the pool, or null for the thread alone. */
pthreadpool* pool_to_use(const std::shared_ptr<pthreadpool>& pool);

} // namespace korvex::larod
