#include "host/pass_watch.h"

#include "app/app_main.h"

#include <utility>

namespace console {
namespace {

struct WatchSource {
    GSource base;
    gint64 armed_for; // when the application's timeout is due, -1 before there is one
    bool pass_done;
    std::function<void()>* look;
};

WatchSource* watch_of(GSource* source) {
    return reinterpret_cast<WatchSource*>(source);
}

/** GLib asks at the start of every round: the timeout that ran in the last round has a new due time by then. */
gboolean prepare(GSource* source, gint* timeout) {
    *timeout = -1;
    WatchSource* watch = watch_of(source);
    GSource* timer = g_ThreadID != 0 ? g_main_context_find_source_by_id(nullptr, g_ThreadID) : nullptr;
    const gint64 due = timer != nullptr ? g_source_get_ready_time(timer) : -1;
    watch->pass_done = watch->pass_done || (watch->armed_for != -1 && due != watch->armed_for);
    watch->armed_for = due;
    return watch->pass_done ? TRUE : FALSE;
}

gboolean check(GSource* source) {
    return watch_of(source)->pass_done ? TRUE : FALSE;
}

gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    WatchSource* watch = watch_of(source);
    watch->pass_done = false;
    (*watch->look)();
    return G_SOURCE_CONTINUE;
}

void finalize(GSource* source) {
    delete watch_of(source)->look;
}

GSourceFuncs functions = {prepare, check, dispatch, finalize, nullptr, nullptr};

} // namespace

PassWatch::PassWatch(std::function<void()> look) : m_source(g_source_new(&functions, sizeof(WatchSource))) {
    WatchSource* watch = watch_of(m_source);
    watch->armed_for = -1;
    watch->pass_done = false;
    watch->look = new std::function<void()>(std::move(look));
    g_source_attach(m_source, nullptr);
}

PassWatch::~PassWatch() {
    g_source_destroy(m_source);
    g_source_unref(m_source);
}

} // namespace console
