#pragma once

#include <mutex>

// What a lock guards is said beside it, and checked: clang refuses (-Wthread-safety) code that touches it without the
// lock. For other compilers the marks are nothing.
#ifdef __clang__
#define KORVEX_MARK(mark) __attribute__((mark))
#else
#define KORVEX_MARK(mark)
#endif
/** Of a member or variable: touched only while the lock is held. */
#define GUARDED_BY(lock) KORVEX_MARK(guarded_by(lock))
/** Of a function, or of a lambda, after its parameters: called only while the lock is held. */
#define REQUIRES(lock) KORVEX_MARK(requires_capability(lock))

/** A mutex that GUARDED_BY and REQUIRES may name. */
class KORVEX_MARK(capability("mutex")) annotated_mutex : public std::mutex {};

/** Holds an annotated_mutex to the end of its scope, with what a condition variable needs. */
class KORVEX_MARK(scoped_lockable) annotated_lock : public std::unique_lock<std::mutex> {
  public:
    explicit annotated_lock(annotated_mutex& mutex) KORVEX_MARK(acquire_capability(mutex))
        : std::unique_lock<std::mutex>(mutex) {}
    ~annotated_lock() KORVEX_MARK(release_capability()) {}
    annotated_lock(const annotated_lock&) = delete;
    annotated_lock& operator=(const annotated_lock&) = delete;

    void lock() KORVEX_MARK(acquire_capability()) KORVEX_MARK(no_thread_safety_analysis) {
        std::unique_lock<std::mutex>::lock();
    }
    void unlock() KORVEX_MARK(release_capability()) KORVEX_MARK(no_thread_safety_analysis) {
        std::unique_lock<std::mutex>::unlock();
    }
};
