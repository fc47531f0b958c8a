// The C interface: handles, and the checks of what a caller passes.

#include "platform/axparameter/failure.h"
#include "platform/axparameter/manifest.h"
#include "platform/axparameter/store.h"

#include <axsdk/axparameter.h>

#include <deque>
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
    const std::string group;
    std::mutex mutex;
    host_parameters::Store store;
};

/** The live handles. The address given out is never read, only looked up, and stays reserved for the life of the
   process (one byte each): so a released handle, NULL or a stray pointer is told from a live one, and a released one
   never comes to mean another store. */
class HandleTable {
  public:
    AXParameter* insert(std::shared_ptr<Handle> handle) {
        const std::lock_guard lock(mutex_);
        AXParameter* token = &tokens_.emplace_back();
        live_.emplace(token, std::move(handle));
        return token;
    }

    std::shared_ptr<Handle> find(AXParameter* token) {
        const std::lock_guard lock(mutex_);
        const auto entry = live_.find(token);
        return entry == live_.end() ? nullptr : entry->second;
    }

    /** An operation that another thread has under way keeps the handle until it is done. */
    std::shared_ptr<Handle> take(AXParameter* token) {
        const std::lock_guard lock(mutex_);
        const auto entry = live_.extract(token);
        return entry.empty() ? nullptr : entry.mapped();
    }

  private:
    std::mutex mutex_;
    std::deque<_AXParameter> tokens_;
    std::map<AXParameter*, std::shared_ptr<Handle>> live_;
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

gboolean missing_value(const gchar* name, GError** error) {
    return static_cast<gboolean>(
        fail(error, ErrorCode::argument, std::string("No value was given for the parameter \"") + name + "\"."));
}

} // namespace

AXParameter* ax_parameter_new(const gchar* app_name, GError** error) {
    if (app_name == nullptr || *app_name == '\0') {
        fail(error, ErrorCode::argument, "An application's name must not be empty.");
        return nullptr;
    }
    host_parameters::Manifest manifest;
    if (!read_manifest(host_parameters::manifest_path(), manifest, error)) {
        return nullptr;
    }
    host_parameters::Store store(host_parameters::store_path(), std::move(manifest));
    if (!store.open(error)) {
        return nullptr;
    }
    return handles().insert(std::make_shared<Handle>(app_name, std::move(store)));
}

void ax_parameter_free(AXParameter* parameter) {
    handles().take(parameter);
}

gboolean ax_parameter_add(AXParameter* parameter, const gchar* name, const gchar* initial_value, const gchar* /*type*/,
                          GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle) {
        return FALSE;
    }
    if (initial_value == nullptr) {
        return missing_value(name, error);
    }
    const std::string owner = owner_of(*handle, name);
    const std::lock_guard lock(handle->mutex);
    if (owner.empty()) {
        std::string present;
        g_autoptr(GError) cause = nullptr;
        if (handle->store.get(owner, name, present, &cause)) {
            return static_cast<gboolean>(host_parameters::exists_already(name, error));
        }
        if (cause->code == static_cast<gint>(ErrorCode::unknown_name)) {
            return static_cast<gboolean>(
                fail(error, ErrorCode::argument,
                     std::string("\"") + name + "\" would be a parameter of the camera's own; none can be added."));
        }
        g_propagate_error(error, g_steal_pointer(&cause));
        return FALSE;
    }
    return static_cast<gboolean>(handle->store.add(owner, name, initial_value, error));
}

gboolean ax_parameter_get(AXParameter* parameter, const gchar* name, gchar** value, GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle) {
        return FALSE;
    }
    if (value == nullptr) {
        return static_cast<gboolean>(fail(error, ErrorCode::argument, "There is no place for the value."));
    }
    const std::lock_guard lock(handle->mutex);
    std::string text;
    if (!handle->store.get(owner_of(*handle, name), name, text, error)) {
        return FALSE;
    }
    *value = g_strdup(text.c_str());
    return TRUE;
}

// A value is always on the disk when this returns: a later, unsynchronised write would save nothing worth a lost value.
gboolean ax_parameter_set(AXParameter* parameter, const gchar* name, const gchar* value, gboolean /*do_sync*/,
                          GError** error) {
    const auto handle = checked(parameter, name, error);
    if (!handle) {
        return FALSE;
    }
    if (value == nullptr) {
        return missing_value(name, error);
    }
    const std::lock_guard lock(handle->mutex);
    return static_cast<gboolean>(handle->store.set(owner_of(*handle, name), name, value, error));
}

GList* ax_parameter_list(AXParameter* parameter, GError** error) {
    const auto handle = checked(parameter, "all", error);
    if (!handle) {
        return nullptr;
    }
    std::vector<std::string> names;
    {
        const std::lock_guard lock(handle->mutex);
        if (!handle->store.list(handle->group, names, error)) {
            return nullptr;
        }
    }
    GList* list = nullptr;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        list = g_list_prepend(list, g_strdup(name->c_str()));
    }
    return list;
}
