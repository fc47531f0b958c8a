#include "platform/larod/thread_pool.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <pthreadpool.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace korvex::larod {

namespace {

class ThreadPool : public testing::Test {
  protected:
    ~ThreadPool() override { unsetenv("KORVEX_LAROD_THREADS"); }
};

TEST_F(ThreadPool, takes_the_number_of_threads_from_the_environment) {
    const int unasked = thread_count();
    EXPECT_GE(unasked, 1);
    EXPECT_LE(unasked, 4);
    struct Case {
        const char* text;
        int count;
    };
    for (const Case& c : {Case{"1", 1}, Case{"3", 3}, Case{"64", 64}, Case{"65", unasked}, Case{"0", unasked},
                          Case{"-1", unasked}, Case{"2x", unasked}, Case{"", unasked}}) {
        setenv("KORVEX_LAROD_THREADS", c.text, 1);
        EXPECT_EQ(thread_count(), c.count) << c.text;
    }
}

TEST_F(ThreadPool, is_one_for_all_owners_and_made_anew_after_the_last) {
    setenv("KORVEX_LAROD_THREADS", "3", 1);
    auto first = shared_thread_pool();
    EXPECT_EQ(pthreadpool_get_threads_count(first.get()), 3U);
    setenv("KORVEX_LAROD_THREADS", "2", 1);
    EXPECT_EQ(shared_thread_pool(), first);
    first.reset();
    EXPECT_EQ(pthreadpool_get_threads_count(shared_thread_pool().get()), 2U);
}

TEST_F(ThreadPool, has_threads_that_block_signals_and_leaves_the_callers_mask_alone) {
    setenv("KORVEX_LAROD_THREADS", "2", 1);
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    const auto pool = shared_thread_pool();
    struct Seen {
        std::thread::id caller = std::this_thread::get_id();
        std::atomic<int> open{0};
        std::atomic<bool> ran_elsewhere{false};
    } seen;
    const auto look = [](void* context, std::size_t) {
        auto& s = *static_cast<Seen*>(context);
        if (std::this_thread::get_id() == s.caller) {
            // The other thread takes the rest as soon as this one waits.
            for (int wait = 0; wait < 10000 && !s.ran_elsewhere; ++wait)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return;
        }
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD})
            s.open += sigismember(&mask, signal) == 1 ? 0 : 1;
        s.ran_elsewhere = true;
    };
    pthreadpool_parallelize_1d(pool.get(), look, &seen, 2, 0);
    EXPECT_TRUE(seen.ran_elsewhere);
    EXPECT_EQ(seen.open, 0);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (int signal = 1; signal < 32; ++signal)
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
}

} // namespace

} // namespace korvex::larod
