#pragma once

#include "platform/axparameter/manifest.h"

#include <functional>
#include <string>
#include <vector>

namespace host_parameters {

/**
 * What a person may set, as the manifest states it for the pages, too: kinds, ranges, the camera's stream sizes. The
 * application itself takes any text.
 */
inline constexpr const char* rotation = "root.Image.I0.Appearance.Rotation";

/** Empty when the text suits the parameter, else what would: "a whole number from 1 to 12". `streams` are the camera's
    sizes, such as "1280x720". */
std::string wanted_instead(const DeclaredParameter& declared, const std::string& text,
                           const std::vector<std::string>& streams);

/** Empty, or a sentence when a later alert has not more seconds than the one below it. `value_of` gives a parameter's
    text as it is to be. */
std::string wrong_order(const std::function<std::string(const std::string&)>& value_of);

} // namespace host_parameters
