#include "platform/larod/thread_pool.h"

#include "app/blocked_signals.h"

#include <pthreadpool.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace korvex::larod {

namespace {

constexpr int most_threads = 64;
constexpr unsigned most_threads_unasked = 4;

thread_local bool this_thread_alone = false;

} // namespace

int thread_count() {
    if (const char* wanted = std::getenv("KORVEX_LAROD_THREADS")) {
        int number = 0;
        const char* end = wanted + std::strlen(wanted);
        const auto [rest, problem] = std::from_chars(wanted, end, number);
        if (problem == std::errc() && rest == end && number >= 1 && number <= most_threads)
            return number;
    }
    // Half of them: threads that wait for each other lose far more to other busy programs than they gain beside none.
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency() / 2, 1U, most_threads_unasked));
}

std::shared_ptr<pthreadpool> shared_thread_pool() {
    static std::mutex mutex;
    static std::weak_ptr<pthreadpool> current;
    const std::lock_guard lock(mutex);
    if (auto pool = current.lock())
        return pool;
    const blocked_signals during_creation;
    pthreadpool_t made = pthreadpool_create(static_cast<std::size_t>(thread_count()));
    if (made == nullptr)
        return nullptr;
    std::shared_ptr<pthreadpool> pool(made, pthreadpool_destroy);
    current = pool;
    return pool;
}

ThreadAlone::ThreadAlone(bool alone) {
    this_thread_alone = alone;
}

ThreadAlone::~ThreadAlone() {
    this_thread_alone = false;
}

pthreadpool* pool_to_use(const std::shared_ptr<pthreadpool>& pool) {
    return this_thread_alone ? nullptr : pool.get();
}

} // namespace korvex::larod
