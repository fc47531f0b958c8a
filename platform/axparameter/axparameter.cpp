// The C interface: handles, and the checks of what a caller passes.

#include "base/thread_safety.h"
#include "platform/axparameter/failure.h"
#include "platform/axparameter/manifest.h"
#include "platform/axparameter/outage.h"
#include "platform/axparameter/settler.h"
#include "platform/axparameter/store.h"

#include <axsdk/axparameter.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/** What a caller holds: an address that stands for a handle and has nothing behind it. */
struct _AXParameter {};

namespace {

using host_parameters::ErrorCode;
using host_parameters::fail;
using host_parameters::Failure;
using host_parameters::guarded;
using host_parameters::is;
using host_parameters::Store;
using platform::need;

struct Handle {
    Handle(std::string name, Store opened) : group(std::move(name)), store(std::move(opened)) {}

    void settle() {
        const annotated_lock lock(mutex);
        store.settle();
    }

    const std::string group;
    annotated_mutex mutex;
    Store store GUARDED_BY(mutex);
    host_parameters::Outage outage GUARDED_BY(mutex);
    host_parameters::Settler settler{[this] { settle(); }}; // the last member: its thread uses the others
};

/**
 * The live handles. The address given out is never read, only looked up, and stays reserved for the life of the
 * process (one byte each): so a released handle, NULL or a stray pointer is told from a live one, and a released one
 * never comes to mean another store.
 */
class HandleTable {
  public:
    AXParameter* insert(std::shared_ptr<Handle> handle) {
        const annotated_lock lock(m_mutex);
        AXParameter* token = &m_tokens.emplace_back();
        m_live.emplace(token, std::move(handle));
        return token;
    }

    std::shared_ptr<Handle> find(AXParameter* token) {
        const annotated_lock lock(m_mutex);
        const auto entry = m_live.find(token);
        return entry == m_live.end() ? nullptr : entry->second;
    }

    /** An operation that another thread has under way keeps the handle until it is done. */
    std::shared_ptr<Handle> take(AXParameter* token) {
        const annotated_lock lock(m_mutex);
        const auto entry = m_live.extract(token);
        return entry.empty() ? nullptr : entry.mapped();
    }

  private:
    annotated_mutex m_mutex;
    std::deque<_AXParameter> m_tokens GUARDED_BY(m_mutex);
    std::map<AXParameter*, std::shared_ptr<Handle>> m_live GUARDED_BY(m_mutex);
};

/** Never destroyed: a thread may still save while the process ends. */
HandleTable& handles() {
    static auto* const table = new HandleTable;
    return *table;
}

/** Whose parameter a name is: the camera's own have no owner. */
std::string owner_of(const Handle& handle, const std::string& name) {
    return name.starts_with("root.") ? std::string() : handle.group;
}

std::shared_ptr<Handle> checked(AXParameter* parameter, const gchar* name) {
    auto handle = handles().find(parameter);
    need(handle != nullptr, ErrorCode::handle, "The parameter handle is not open: it was released, or never made.");
    need(name != nullptr && *name != '\0', ErrorCode::argument, "A parameter's name must not be empty.");
    return handle;
}

void need_value(const gchar* value, const gchar* name) {
    if (value == nullptr)
        fail(ErrorCode::argument, std::string("No value was given for the parameter \"") + name + "\".");
}

/** Runs an operation on the store, under the handle's lock, and says what outage it shows. */
void attempt(Handle& handle, bool writes, const std::function<void(Store&)>& operation) {
    const annotated_lock lock(handle.mutex);
    try {
        operation(handle.store);
    } catch (const Failure& failure) {
        if (is(failure, ErrorCode::store))
            handle.outage.failed(failure.sentence, handle.store.is_open());
        else
            handle.outage.works(false);
        throw;
    }
    handle.outage.works(writes);
    if (writes)
        handle.settler.written();
}

/** The camera's own parameters are there, and none can be added. */
[[noreturn]] void refuse_camera_parameter(Store& store, const std::string& name) {
    try {
        store.get("", name);
    } catch (const Failure& failure) {
        if (is(failure, ErrorCode::unknown_name))
            fail(ErrorCode::argument, "\"" + name + "\" would be a parameter of the camera's own; none can be added.");
        throw;
    }
    host_parameters::fail_existing(name);
}

} // namespace

AXParameter* ax_parameter_new(const gchar* app_name, GError** error) {
    return guarded(error, [&] {
        need(app_name != nullptr && *app_name != '\0', ErrorCode::argument, "An application's name must not be empty.");
        try {
            Store store(host_parameters::store_path(),
                        host_parameters::read_manifest(host_parameters::manifest_path()));
            store.open();
            return handles().insert(std::make_shared<Handle>(app_name, std::move(store)));
        } catch (const Failure& failure) {
            host_parameters::complain(failure.sentence + "; every setting reads 0 until the camera is started again");
            throw;
        }
    });
}

void ax_parameter_free(AXParameter* parameter) {
    if (const auto handle = handles().take(parameter)) {
        const annotated_lock lock(handle->mutex);
        handle->outage.given_up();
    }
}

gboolean ax_parameter_add(AXParameter* parameter, const gchar* name, const gchar* initial_value, const gchar* /*type*/,
                          GError** error) {
    return guarded(error, [&] {
        const auto handle = checked(parameter, name);
        need_value(initial_value, name);
        const std::string owner = owner_of(*handle, name);
        attempt(*handle, true, [&](Store& store) {
            if (owner.empty())
                refuse_camera_parameter(store, name);
            store.add(owner, name, initial_value);
        });
        return TRUE;
    });
}

gboolean ax_parameter_get(AXParameter* parameter, const gchar* name, gchar** value, GError** error) {
    return guarded(error, [&] {
        const auto handle = checked(parameter, name);
        need(value != nullptr, ErrorCode::argument, "There is no place for the value.");
        attempt(*handle, false,
                [&](Store& store) { *value = g_strdup(store.get(owner_of(*handle, name), name).c_str()); });
        return TRUE;
    });
}

// A value is always on the disk when this returns: a later, unsynchronised write would save nothing worth a lost value.
gboolean ax_parameter_set(AXParameter* parameter, const gchar* name, const gchar* value, gboolean /*do_sync*/,
                          GError** error) {
    return guarded(error, [&] {
        const auto handle = checked(parameter, name);
        need_value(value, name);
        attempt(*handle, true, [&](Store& store) { store.set(owner_of(*handle, name), name, value); });
        return TRUE;
    });
}

GList* ax_parameter_list(AXParameter* parameter, GError** error) {
    return guarded(error, [&] {
        const auto handle = checked(parameter, "all");
        GList* list = nullptr;
        attempt(*handle, false, [&](Store& store) {
            for (const std::string& name : store.list(handle->group))
                list = g_list_prepend(list, g_strdup(name.c_str()));
        });
        return g_list_reverse(list);
    });
}
