// The C interface: handles, and the checks of what a caller passes.

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
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/** What a caller holds: an address that stands for a handle and has nothing behind it. */
struct _AXParameter {};

namespace {

using host_parameters::ErrorCode;
using host_parameters::fail;

struct Handle {
    Handle(std::string name, host_parameters::Store opened) : group(std::move(name)), store(std::move(opened)) {}

    void settle() {
        const std::lock_guard lock(mutex);
        store.settle();
    }

    const std::string group;
    std::mutex mutex; // the two below
    host_parameters::Store store;
    host_parameters::Outage outage;
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
        const std::lock_guard lock(m_mutex);
        AXParameter* token = &m_tokens.emplace_back();
        m_live.emplace(token, std::move(handle));
        return token;
    }

    std::shared_ptr<Handle> find(AXParameter* token) {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_live.find(token);
        return entry == m_live.end() ? nullptr : entry->second;
    }

    /** An operation that another thread has under way keeps the handle until it is done. */
    std::shared_ptr<Handle> take(AXParameter* token) {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_live.extract(token);
        return entry.empty() ? nullptr : entry.mapped();
    }

  private:
    std::mutex m_mutex;
    std::deque<_AXParameter> m_tokens;
    std::map<AXParameter*, std::shared_ptr<Handle>> m_live;
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

std::shared_ptr<Handle> checked(AXParameter* parameter, const gchar* name, GError** error) {
    auto handle = handles().find(parameter);
    if (!handle) {
        fail(error, ErrorCode::handle, "The parameter handle is not open: it was released, or never made.");
        return nullptr;
    }
    if (name == nullptr || *name == '\0') {
        fail(error, ErrorCode::argument, "A parameter's name must not be empty.");
        return nullptr;
    }
    return handle;
}

/** Runs an operation on the store, under the handle's lock, and says what outage it shows. */
bool attempt(Handle& handle, bool writes, GError** error,
             const std::function<bool(host_parameters::Store&, GError**)>& operation) {
    const std::lock_guard lock(handle.mutex);
    g_autoptr(GError) cause = nullptr;
    const bool done = operation(handle.store, &cause);
    if (cause != nullptr && cause->code == static_cast<gint>(ErrorCode::store))
        handle.outage.failed(cause->message, handle.store.is_open());
    else
        handle.outage.works(done && writes);
    if (done && writes)
        handle.settler.written();
    if (cause != nullptr)
        g_propagate_error(error, g_steal_pointer(&cause));
    return done;
}

gboolean missing_value(const gchar* name, GError** error) {
    return static_cast<gboolean>(
        fail(error, ErrorCode::argument, std::string("No value was given for the parameter \"") + name + "\"."));
}

/** Always false: the camera's own parameters are there, and none can be added. */
bool refuse_camera_parameter(host_parameters::Store& store, const std::string& name, GError** error) {
    std::string present;
    g_autoptr(GError) cause = nullptr;
    if (store.get("", name, present, &cause))
        return host_parameters::exists_already(name, error);
    if (cause->code == static_cast<gint>(ErrorCode::unknown_name))
        return fail(error, ErrorCode::argument,
                    "\"" + name + "\" would be a parameter of the camera's own; none can be added.");
    g_propagate_error(error, g_steal_pointer(&cause));
    return false;
}

} // namespace

AXParameter* ax_parameter_new(const gchar* app_name, GError** error) {
    if (app_name == nullptr || *app_name == '\0') {
        fail(error, ErrorCode::argument, "An application's name must not be empty.");
        return nullptr;
    }
    g_autoptr(GError) cause = nullptr;
    host_parameters::Manifest manifest;
    const bool declared = read_manifest(host_parameters::manifest_path(), manifest, &cause);
    host_parameters::Store store(host_parameters::store_path(), std::move(manifest));
    if (!declared || !store.open(&cause)) {
        host_parameters::complain(std::string(cause->message) +
                                  "; every setting reads 0 until the camera is started again");
        g_propagate_error(error, g_steal_pointer(&cause));
        return nullptr;
    }
    return handles().insert(std::make_shared<Handle>(app_name, std::move(store)));
}

void ax_parameter_free(AXParameter* parameter) {
    if (const auto handle = handles().take(parameter)) {
        const std::lock_guard lock(handle->mutex);
        handle->outage.given_up();
    }
}

gboolean ax_parameter_add(AXParameter* parameter, const gchar* name, const gchar* initial_value, const gchar* /*type*/,
                          GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle)
        return FALSE;
    if (initial_value == nullptr)
        return missing_value(name, error);
    const std::string owner = owner_of(*handle, name);
    return static_cast<gboolean>(attempt(*handle, true, error, [&](host_parameters::Store& store, GError** cause) {
        return owner.empty() ? refuse_camera_parameter(store, name, cause)
                             : store.add(owner, name, initial_value, cause);
    }));
}

gboolean ax_parameter_get(AXParameter* parameter, const gchar* name, gchar** value, GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle)
        return FALSE;
    if (value == nullptr)
        return static_cast<gboolean>(fail(error, ErrorCode::argument, "There is no place for the value."));
    std::string text;
    if (!attempt(*handle, false, error, [&](host_parameters::Store& store, GError** cause) {
            return store.get(owner_of(*handle, name), name, text, cause);
        }))
        return FALSE;
    *value = g_strdup(text.c_str());
    return TRUE;
}

// A value is always on the disk when this returns: a later, unsynchronised write would save nothing worth a lost value.
gboolean ax_parameter_set(AXParameter* parameter, const gchar* name, const gchar* value, gboolean /*do_sync*/,
                          GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle)
        return FALSE;
    if (value == nullptr)
        return missing_value(name, error);
    return static_cast<gboolean>(attempt(*handle, true, error, [&](host_parameters::Store& store, GError** cause) {
        return store.set(owner_of(*handle, name), name, value, cause);
    }));
}

GList* ax_parameter_list(AXParameter* parameter, GError** error) {
    const auto handle = checked(parameter, "all", error);
    if (!handle)
        return nullptr;
    std::vector<std::string> names;
    if (!attempt(*handle, false, error, [&](host_parameters::Store& store, GError** cause) {
            return store.list(handle->group, names, cause);
        }))
        return nullptr;
    GList* list = nullptr;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        list = g_list_prepend(list, g_strdup(name->c_str()));
    return list;
}
