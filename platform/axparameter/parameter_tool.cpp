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

void carry_out(Store& store, const std::string& package, const Wish& wish) {
    const std::string owner = wish.name == rotation ? "" : package;
    if (wish.value)
        store.set(owner, wish.name, *wish.value);
    else
        std::puts(store.get(owner, wish.name).c_str());
}

/** What is wrong with the alerts' seconds once all wishes are carried out; what stands there already is nobody's wish.
 */
std::string disorder_after(const std::vector<Wish>& wishes, Store& store, const std::string& package) {
    const bool about_seconds = std::ranges::any_of(
        wishes, [](const Wish& wish) { return wish.value && wish.name.ends_with("ThreshSeconds"); });
    if (!about_seconds)
        return "";
    return wrong_order([&](const std::string& name) {
        std::string value = store.get(package, name);
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

int work(const std::vector<std::string>& arguments) {
    Manifest manifest = read_manifest(manifest_path());
    Store store(store_path(), manifest);
    manifest.parameters.push_back({rotation, "0", Kind::integer});

    const std::vector<std::string> streams = stream_sizes();
    std::vector<Wish> wishes;
    for (const std::string& argument : arguments) {
        const Wish wish = wish_of(argument);
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

    store.open();
    store.check_room();
    const std::string disorder = disorder_after(wishes, store, manifest.package);
    if (!disorder.empty())
        return refuse(disorder);
    for (const Wish& wish : wishes)
        carry_out(store, manifest.package, wish);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return work({argv + 1, argv + argc});
    } catch (const platform::Failure& failure) {
        return refuse(failure.sentence);
    }
}
