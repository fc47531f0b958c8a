// The C interface's handlers: who declares and sends. What they declare lives in the process's one event service.
#include "platform/axevent/completion.h"
#include "platform/axevent/event_service.h"
#include "platform/axevent/failure.h"

#include <map>
#include <mutex>

using host_events::ErrorCode;
using host_events::fail;

struct _AXEventHandler {
    std::shared_ptr<host_events::EventService> service = host_events::EventService::acquire();
    std::mutex mutex; // the completions
    std::map<guint, host_events::Completion> completions;
};

AXEventHandler* ax_event_handler_new(void) {
    return new AXEventHandler;
}

void ax_event_handler_free(AXEventHandler* handler) {
    if (handler == nullptr) {
        return;
    }
    handler->completions.clear();
    handler->service->forget(handler);
    host_events::EventService::release(std::move(handler->service));
    delete handler;
}

gboolean ax_event_handler_declare(AXEventHandler* handler, AXEventKeyValueSet* set, gboolean stateless,
                                  guint* declaration, AXDeclarationCompleteCallback callback, gpointer user_data,
                                  GError** error) {
    if (handler == nullptr || set == nullptr || declaration == nullptr) {
        return fail(error, ErrorCode::argument,
                    "The handler, the set and the place for the declaration must be given.");
    }
    guint id = 0;
    if (handler->service->declare(handler, set->values, stateless != FALSE, id, error) == FALSE) {
        return FALSE;
    }
    *declaration = id;
    if (callback != nullptr) {
        const std::lock_guard lock(handler->mutex);
        handler->completions.try_emplace(id, id, callback, user_data);
    }
    return TRUE;
}

gboolean ax_event_handler_undeclare(AXEventHandler* handler, guint declaration, GError** error) {
    if (handler == nullptr) {
        return fail(error, ErrorCode::argument, "The handler is NULL.");
    }
    if (handler->service->undeclare(handler, declaration, error) == FALSE) {
        return FALSE;
    }
    const std::lock_guard lock(handler->mutex);
    handler->completions.erase(declaration);
    return TRUE;
}

gboolean ax_event_handler_send_event(AXEventHandler* handler, guint declaration, AXEvent* event, GError** error) {
    if (handler == nullptr || event == nullptr) {
        return fail(error, ErrorCode::argument, "The handler and the event must be given.");
    }
    return handler->service->send(handler, declaration, *event, error);
}
