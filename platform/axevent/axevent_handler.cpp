// The C interface's handlers: who declares and sends. What they declare lives in the process's one event service.
#include "base/thread_safety.h"
#include "platform/axevent/event_service.h"
#include "platform/axevent/failure.h"

#include <map>

using host_events::ErrorCode;
using host_events::EventService;
using host_events::fail;
using host_events::guarded;

namespace {

struct Call {
    guint declaration;
    AXDeclarationCompleteCallback callback;
    gpointer user_data;
};

void withdraw(GSource* source) {
    g_source_destroy(source);
    g_source_unref(source);
}

/**
 * The callback of a declaration: called once from the main loop of the thread that declared, never from inside the
 * declaring call, and not any more once this handle is gone.
 */
using Completion = platform::Handle<GSource, withdraw>;

Completion completion(const Call& call) {
    Completion source(g_idle_source_new());
    g_source_set_callback(
        source.get(),
        [](gpointer data) -> gboolean {
            const auto* due = static_cast<const Call*>(data);
            due->callback(due->declaration, due->user_data);
            return G_SOURCE_REMOVE;
        },
        new Call(call), [](gpointer data) { delete static_cast<Call*>(data); });
    g_autoptr(GMainContext) context = g_main_context_ref_thread_default();
    g_source_attach(source.get(), context);
    return source;
}

} // namespace

struct _AXEventHandler {
    std::shared_ptr<EventService> service = EventService::acquire();
    annotated_mutex mutex;
    std::map<guint, Completion> completions GUARDED_BY(mutex);
};

AXEventHandler* ax_event_handler_new(void) {
    return new AXEventHandler;
}

void ax_event_handler_free(AXEventHandler* handler) {
    if (handler == nullptr)
        return;
    {
        const annotated_lock lock(handler->mutex);
        handler->completions.clear();
    }
    handler->service->forget(handler);
    EventService::release(std::move(handler->service));
    delete handler;
}

gboolean ax_event_handler_declare(AXEventHandler* handler, AXEventKeyValueSet* set, gboolean stateless,
                                  guint* declaration, AXDeclarationCompleteCallback callback, gpointer user_data,
                                  GError** error) {
    return guarded(error, [&] {
        if (handler == nullptr || set == nullptr || declaration == nullptr)
            fail(ErrorCode::argument, "The handler, the set and the place for the declaration must be given.");
        *declaration = handler->service->declare(handler, set->values, stateless != FALSE);
        if (callback != nullptr) {
            const annotated_lock lock(handler->mutex);
            handler->completions.try_emplace(*declaration, completion({*declaration, callback, user_data}));
        }
    });
}

gboolean ax_event_handler_undeclare(AXEventHandler* handler, guint declaration, GError** error) {
    return guarded(error, [&] {
        if (handler == nullptr)
            fail(ErrorCode::argument, "The handler is NULL.");
        handler->service->undeclare(handler, declaration);
        const annotated_lock lock(handler->mutex);
        handler->completions.erase(declaration);
    });
}

gboolean ax_event_handler_send_event(AXEventHandler* handler, guint declaration, AXEvent* event, GError** error) {
    return guarded(error, [&] {
        if (handler == nullptr || event == nullptr)
            fail(ErrorCode::argument, "The handler and the event must be given.");
        handler->service->send(handler, declaration, *event);
    });
}
