// korvex_parameter NAME|NAME=VALUE ...: prints (NAME) and changes (NAME=VALUE) the parameters of the store that the
// environment names (README.md). All arguments are checked before the first one counts; status 1 and a sentence when
// one is wrong.

#include "platform/axparameter/manifest.h"

#include <axsdk/axparameter.h>

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

constexpr const char* rotation = "root.Image.I0.Appearance.Rotation";

int refuse(const std::string& sentence) {
    std::fprintf(stderr, "%s\n", sentence.c_str());
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

/** The same for a parameter. The camera turns its picture by right angles only; any other number would count as 0. */
std::string wanted_instead(const DeclaredParameter& declared, const std::string& text) {
    const bool turns = text == "0" || text == "90" || text == "180" || text == "270";
    return declared.name == rotation && !turns ? "0, 90, 180 or 270" : wanted_instead(declared.kind, text);
}

const DeclaredParameter* find(const Manifest& manifest, const std::string& name) {
    for (const DeclaredParameter& parameter : manifest.parameters) {
        if (parameter.name == name) {
            return &parameter;
        }
    }
    return nullptr;
}

/** One argument: without a value the parameter is to be printed. */
struct Wish {
    std::string name;
    std::optional<std::string> value;
};

Wish wish_of(const std::string& argument) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos) {
        return {argument, std::nullopt};
    }
    return {argument.substr(0, equals), argument.substr(equals + 1)};
}

bool print(AXParameter* store, const std::string& name, GError** error) {
    g_autofree gchar* value = nullptr;
    if (ax_parameter_get(store, name.c_str(), &value, error) == FALSE) {
        return false;
    }
    std::puts(value);
    return true;
}

std::string list_of(const Manifest& manifest) {
    std::string text;
    for (const DeclaredParameter& parameter : manifest.parameters) {
        text += "\n  " + parameter.name;
    }
    return text;
}

} // namespace

int main(int argc, char** argv) {
    Manifest manifest;
    g_autoptr(GError) error = nullptr;
    if (!read_manifest(host_parameters::manifest_path(), manifest, &error)) {
        return refuse(error->message);
    }
    const std::string package = manifest.package;
    manifest.parameters.push_back({rotation, "0", Kind::integer});

    std::vector<Wish> wishes;
    for (int i = 1; i < argc; ++i) {
        const Wish wish = wish_of(argv[i]);
        const DeclaredParameter* declared = find(manifest, wish.name);
        if (declared == nullptr) {
            return refuse("There is no parameter \"" + wish.name + "\". There are:" + list_of(manifest));
        }
        const std::string wanted = wish.value ? wanted_instead(*declared, *wish.value) : "";
        if (!wanted.empty()) {
            return refuse("\"" + *wish.value + "\" does not suit the parameter " + wish.name + ": it takes " + wanted +
                          ".");
        }
        wishes.push_back(wish);
    }

    AXParameter* const store = ax_parameter_new(package.c_str(), &error);
    bool done = store != nullptr;
    for (const Wish& wish : wishes) {
        done =
            done && (wish.value ? ax_parameter_set(store, wish.name.c_str(), wish.value->c_str(), TRUE, &error) == TRUE
                                : print(store, wish.name, &error));
    }
    ax_parameter_free(store);
    return done ? 0 : refuse(error->message);
}
