#pragma once

#include <string>
#include <vector>

namespace console {

/** What a settings file leaves to the camera that it is for. */
struct SettingsTarget {
    int width = 0; ///< of the analysed picture, whose pixels the store has; the file has per cents
    int height = 0;
    int period_ms = 0; ///< of a pass: the store has the patience in passes, the file in seconds
};

/**
 * The parameters, as "NAME=VALUE", that a file holds which the pages have exported. They become what the pages would
 * have posted: per cents are cut to pixels in the same way. What is in range is the parameters' own business. Throws
 * std::runtime_error with a sentence about a file that is none, or lacks something.
 */
std::vector<std::string> parameters_in(const std::string& text, const SettingsTarget& target);

} // namespace console
