#include "app/app_main.h"
#include "host/pass_watch.h"

#include <gtest/gtest.h>

namespace {

int g_passes = 0;

gboolean count_pass(gpointer /*data*/) {
    ++g_passes;
    return TRUE;
}

gboolean idle_round(gpointer rounds) {
    return ++*static_cast<int*>(rounds) < 50 ? TRUE : FALSE;
}

TEST(PassWatch, LooksOnceAfterEachPassAndAtNoOtherTime) {
    g_passes = 0;
    int looks = 0;
    int rounds = 0;
    const console::PassWatch watch([&] { EXPECT_EQ(++looks, g_passes); });
    // Rounds of the loop without a pass, before the timeout is there and beside it.
    g_idle_add(idle_round, &rounds);
    while (rounds < 50)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(looks, 0);
    g_ThreadID = g_timeout_add(2, count_pass, nullptr);
    rounds = 0;
    g_idle_add(idle_round, &rounds);
    while (looks < 20)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(g_passes, 20);
    g_source_remove(g_ThreadID);
    g_ThreadID = 0;
}

} // namespace
