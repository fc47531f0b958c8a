#pragma once

#include <axsdk/axevent.h>

#include <memory>

namespace host_events {

/** The callback of a declaration: called once from the main loop of the thread that declared, never from inside the
    declaring call, and not any more once this object is gone. */
class Completion {
  public:
    Completion(guint declaration, AXDeclarationCompleteCallback callback, gpointer user_data)
        : m_source(g_idle_source_new()) {
        g_source_set_callback(
            m_source.get(),
            [](gpointer data) -> gboolean {
                const auto* call = static_cast<const Call*>(data);
                call->callback(call->declaration, call->user_data);
                return G_SOURCE_REMOVE;
            },
            new Call{declaration, callback, user_data}, [](gpointer data) { delete static_cast<Call*>(data); });
        g_autoptr(GMainContext) context = g_main_context_ref_thread_default();
        g_source_attach(m_source.get(), context);
    }

  private:
    struct Call {
        guint declaration;
        AXDeclarationCompleteCallback callback;
        gpointer user_data;
    };
    struct Remove {
        void operator()(GSource* source) const {
            g_source_destroy(source);
            g_source_unref(source);
        }
    };
    std::unique_ptr<GSource, Remove> m_source;
};

} // namespace host_events
