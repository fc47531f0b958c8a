// korvex_parameter NAME|NAME=VALUE ...: prints (NAME) and changes (NAME=VALUE) the parameters of the store that the
// environment names (README.md). All arguments are checked before the first one counts; status 1 and a sentence when
// one is wrong. So it is, with any arguments, when the store cannot be written: an application that starts on such a
// store reads 0 for every setting, or loses what it saves.

#include "platform/axparameter/manifest.h"
#include "platform/axparameter/parameter_rules.h"
#include "platform/axparameter/store.h"
#include "platform/common/glib.h"

#include <vdo-channel.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace host_parameters;

int refuse(const std::string& sentence) {
    std::fprintf(stderr, sentence.ends_with('.') ? "%s\n" : "%s.\n", sentence.c_str());
    return 1;
}

/** One argument: without a value the parameter is to be printed. */
struct Wish {
    std::string name;
    std::optional<std::string> value;
};

Wish wish_of(const std::string& argument) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos)
        return {argument, std::nullopt};
    return {argument.substr(0, equals), argument.substr(equals + 1)};
}

bool carry_out(Store& store, const std::string& package, const Wish& wish, GError** error) {
    const std::string owner = wish.name == rotation ? "" : package;
    if (wish.value)
        return store.set(owner, wish.name, *wish.value, error);
    std::string value;
    if (!store.get(owner, wish.name, value, error))
        return false;
    std::puts(value.c_str());
    return true;
}

/** What is wrong with the alerts' seconds once all wishes are carried out; what stands there already is nobody's wish.
 */
std::string disorder_after(const std::vector<Wish>& wishes, Store& store, const std::string& package) {
    const bool about_seconds = std::ranges::any_of(
        wishes, [](const Wish& wish) { return wish.value && wish.name.ends_with("ThreshSeconds"); });
    if (!about_seconds)
        return "";
    return wrong_order([&](const std::string& name) {
        std::string value;
        store.get(package, name, value, nullptr);
        for (const Wish& wish : wishes) {
            if (wish.name == name && wish.value)
                value = *wish.value;
        }
        return value;
    });
}

/** Those that the camera offers, as "1280x720". */
std::vector<std::string> stream_sizes() {
    std::vector<std::string> sizes;
    const platform::ObjectHandle<VdoChannel> channel(vdo_channel_get(1, nullptr));
    g_autofree VdoResolutionSet* set = vdo_channel_get_resolutions(channel.get(), nullptr, nullptr);
    for (gsize i = 0; set != nullptr && i < set->count; ++i)
        sizes.push_back(std::to_string(set->resolutions[i].width) + "x" + std::to_string(set->resolutions[i].height));
    return sizes;
}

std::string list_of(const Manifest& manifest) {
    std::string text;
    for (const DeclaredParameter& parameter : manifest.parameters)
        text += "\n  " + parameter.name;
    return text;
}

} // namespace

int main(int argc, char** argv) {
    Manifest manifest;
    g_autoptr(GError) error = nullptr;
    if (!read_manifest(host_parameters::manifest_path(), manifest, &error))
        return refuse(error->message);
    Store store(host_parameters::store_path(), manifest);
    manifest.parameters.push_back({rotation, "0", Kind::integer});

    const std::vector<std::string> streams = stream_sizes();
    std::vector<Wish> wishes;
    for (int i = 1; i < argc; ++i) {
        const Wish wish = wish_of(argv[i]);
        const auto declared = std::ranges::find(manifest.parameters, wish.name, &DeclaredParameter::name);
        if (declared == manifest.parameters.end()) {
            std::fprintf(stderr, "There is no parameter \"%s\". There are:%s\n", wish.name.c_str(),
                         list_of(manifest).c_str());
            return 1;
        }
        const std::string wanted = wish.value ? wanted_instead(*declared, *wish.value, streams) : "";
        if (!wanted.empty())
            return refuse("\"" + *wish.value + "\" does not suit the parameter " + wish.name + ": it takes " + wanted +
                          ".");
        wishes.push_back(wish);
    }

    bool done = store.open(&error) && store.check_room(&error);
    const std::string disorder = done ? disorder_after(wishes, store, manifest.package) : "";
    if (!disorder.empty()) {
        return refuse(disorder);
    }
    for (const Wish& wish : wishes) {
        done = done && carry_out(store, manifest.package, wish, &error);
    }
    return done ? 0 : refuse(error->message);
}
