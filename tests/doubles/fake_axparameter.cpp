#include "tests/doubles/fake_axparameter.h"

#include <axsdk/axparameter.h>

#include <memory>
#include <mutex>
#include <vector>

struct _AXParameter {
    bool released = false;
};

namespace {

constexpr int kNoSuchParameter = 4;
constexpr int kNoHandle = 5;
constexpr int kReleasedHandle = 6;
constexpr int kExistsAlready = 13;

struct store {
    std::mutex mutex;
    std::map<std::string, std::string> values;
    std::vector<std::unique_ptr<_AXParameter>> handles; // released ones too: they must stay recognisable
    int uses_of_released = 0;
};

store& the_store() {
    static auto& instance = *new store; // outlives the process-wide objects, which still call at their end
    return instance;
}

bool refuses(const std::string& line, const AXParameter* handle, GError** error) {
    if (fake_axparameter::recorder().fails(line, error))
        return true;
    if (handle == nullptr) {
        set_error(error, kNoHandle, "no handle");
        return true;
    }
    const std::scoped_lock lock(the_store().mutex);
    if (!handle->released)
        return false;
    ++the_store().uses_of_released;
    set_error(error, kReleasedHandle, "released handle");
    return true;
}

} // namespace

call_recorder& fake_axparameter::recorder() {
    static auto& instance = *new call_recorder; // outlives the process-wide objects, which still call at their end
    return instance;
}

void fake_axparameter::reset() {
    recorder().reset();
    const std::scoped_lock lock(the_store().mutex);
    the_store().values = {{"root.Image.I0.Appearance.Rotation", "0"}};
    the_store().uses_of_released = 0;
}

void fake_axparameter::put(const std::string& name, const std::string& value) {
    const std::scoped_lock lock(the_store().mutex);
    the_store().values[name] = value;
}

void fake_axparameter::remove(const std::string& name) {
    const std::scoped_lock lock(the_store().mutex);
    the_store().values.erase(name);
}

std::map<std::string, std::string> fake_axparameter::values() {
    const std::scoped_lock lock(the_store().mutex);
    return the_store().values;
}

int fake_axparameter::uses_of_released_handles() {
    const std::scoped_lock lock(the_store().mutex);
    return the_store().uses_of_released;
}

AXParameter* ax_parameter_new(const gchar* app_name, GError** error) {
    if (fake_axparameter::recorder().fails(call_line("ax_parameter_new", app_name), error))
        return nullptr;
    fake_axparameter::recorder().born("AXParameter");
    const std::scoped_lock lock(the_store().mutex);
    return the_store().handles.emplace_back(std::make_unique<_AXParameter>()).get();
}

void ax_parameter_free(AXParameter* parameter) {
    fake_axparameter::recorder().call("ax_parameter_free");
    if (parameter == nullptr)
        return;
    const std::scoped_lock lock(the_store().mutex);
    if (parameter->released) {
        ++the_store().uses_of_released;
        return;
    }
    parameter->released = true;
    fake_axparameter::recorder().died("AXParameter");
}

gboolean ax_parameter_add(AXParameter* parameter, const gchar* name, const gchar* initial_value, const gchar* type,
                          GError** error) {
    if (refuses(call_line("ax_parameter_add", name, initial_value, type), parameter, error))
        return FALSE;
    const std::scoped_lock lock(the_store().mutex);
    if (the_store().values.emplace(name, initial_value).second)
        return TRUE;
    set_error(error, kExistsAlready, "exists already");
    return FALSE;
}

gboolean ax_parameter_get(AXParameter* parameter, const gchar* name, gchar** value, GError** error) {
    if (refuses(call_line("ax_parameter_get", name), parameter, error))
        return FALSE;
    const std::scoped_lock lock(the_store().mutex);
    const auto found = the_store().values.find(name);
    if (found == the_store().values.end()) {
        set_error(error, kNoSuchParameter, "no such parameter");
        return FALSE;
    }
    *value = g_strdup(found->second.c_str());
    return TRUE;
}

gboolean ax_parameter_set(AXParameter* parameter, const gchar* name, const gchar* value, gboolean do_sync,
                          GError** error) {
    if (refuses(call_line("ax_parameter_set", name, value, do_sync), parameter, error))
        return FALSE;
    const std::scoped_lock lock(the_store().mutex);
    const auto found = the_store().values.find(name);
    if (found == the_store().values.end()) {
        set_error(error, kNoSuchParameter, "no such parameter");
        return FALSE;
    }
    found->second = value;
    return TRUE;
}

GList* ax_parameter_list(AXParameter* parameter, GError** error) {
    if (refuses("ax_parameter_list", parameter, error))
        return nullptr;
    const std::scoped_lock lock(the_store().mutex);
    GList* names = nullptr;
    for (const auto& [name, value] : the_store().values)
        if (!name.starts_with("root."))
            names = g_list_append(names, g_strdup(name.c_str()));
    return names;
}
