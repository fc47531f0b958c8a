// korvex_parameter NAME|NAME=VALUE ...: prints (NAME) and changes (NAME=VALUE) the parameters of the store that the
// environment names (README.md). All arguments are checked before the first one counts; status 1 and a sentence when
// one is wrong. So it is, with any arguments, when the store cannot be written: an application that starts on such a
// store reads 0 for every setting, or loses what it saves.

#include "platform/axparameter/manifest.h"
#include "platform/axparameter/store.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace {

using host_parameters::DeclaredParameter;
using host_parameters::Kind;
using host_parameters::Manifest;

using host_parameters::Store;

constexpr const char* rotation = "root.Image.I0.Appearance.Rotation";
constexpr const char* period = "MainLoopTime";
/** An hour in milliseconds. */
constexpr long longest_period = 3600000;

int refuse(const std::string& sentence) {
    std::fprintf(stderr, sentence.ends_with('.') ? "%s\n" : "%s.\n", sentence.c_str());
    return 1;
}

bool is_integer(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    // A sign or a blank in front would be read, but is never written.
    return !text.empty() && g_ascii_isdigit(text[0]) && *end == '\0' && errno == 0 && value <= INT_MAX;
}

bool is_number(const std::string& text) {
    gchar* end = nullptr;
    const double value = g_ascii_strtod(text.c_str(), &end);
    return !text.empty() && !g_ascii_isspace(text[0]) && *end == '\0' && std::isfinite(value);
}

/** Empty when the text suits the kind, else what would. */
std::string wanted_instead(Kind kind, const std::string& text) {
    switch (kind) {
    case Kind::integer:
        return is_integer(text) ? "" : "a whole number from 0 to 2147483647";
    case Kind::number:
        return is_number(text) ? "" : "a number, for example 0.400000";
    case Kind::boolean:
        return text == "true" || text == "false" ? "" : "true or false";
    case Kind::text:
        break;
    }
    return "";
}

/**
 * The same for a parameter. The camera turns its picture by right angles only; any other number would count as 0. With
 * a period of 0 the analysis would leave no time to anything else.
 */
std::string wanted_instead(const DeclaredParameter& declared, const std::string& text) {
    const bool turns = text == "0" || text == "90" || text == "180" || text == "270";
    if (declared.name == rotation && !turns)
        return "0, 90, 180 or 270";
    const bool passes = is_integer(text) && std::stol(text) >= 1 && std::stol(text) <= longest_period;
    if (declared.name == period && !passes)
        return "a whole number from 1 to " + std::to_string(longest_period) + ", in milliseconds";
    return wanted_instead(declared.kind, text);
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

    std::vector<Wish> wishes;
    for (int i = 1; i < argc; ++i) {
        const Wish wish = wish_of(argv[i]);
        const auto declared = std::ranges::find(manifest.parameters, wish.name, &DeclaredParameter::name);
        if (declared == manifest.parameters.end()) {
            std::fprintf(stderr, "There is no parameter \"%s\". There are:%s\n", wish.name.c_str(),
                         list_of(manifest).c_str());
            return 1;
        }
        const std::string wanted = wish.value ? wanted_instead(*declared, *wish.value) : "";
        if (!wanted.empty())
            return refuse("\"" + *wish.value + "\" does not suit the parameter " + wish.name + ": it takes " + wanted +
                          ".");
        wishes.push_back(wish);
    }

    bool done = store.open(&error) && store.check_room(&error);
    for (const Wish& wish : wishes) {
        done = done && carry_out(store, manifest.package, wish, &error);
    }
    return done ? 0 : refuse(error->message);
}
