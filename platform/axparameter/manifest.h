#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host_parameters {

/** How a declared value is written; what `korvex_parameter` checks. The store itself takes any text. */
enum class Kind { integer, number, boolean, text, stream };

struct DeclaredParameter {
    std::string name;
    std::string default_value;
    Kind kind = Kind::text;
    std::optional<double> least{}; ///< what a person may set; the store itself takes any text
    std::optional<double> most{};
    std::string unit{};
};

/** What the package declares: the group its parameters belong to, and the parameters in the file's order. */
struct Manifest {
    std::string package;
    std::vector<DeclaredParameter> parameters;
};

/** KORVEX_AXPARAMETER_MANIFEST, or the manifest of the source tree this was built from. */
std::string manifest_path();

/**
 * Reads the file at `path` (its shape: package/README.md). Throws a Failure when it is missing or is not of that shape.
 */
Manifest read_manifest(const std::string& path);

} // namespace host_parameters
