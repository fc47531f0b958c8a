#pragma once

#include <string>

namespace korvex::larod {

/**
 * Whether a file is still what was made: its SHA-256 beside the one that `model.sha256` in the file's own folder (links
 * are followed) has for its name, in the form of sha256sum. Gives a sentence when it is not, and an empty string when
 * it is or when no checksum is there: another model than the default one has none.
 */
std::string why_file_is_damaged(const std::string& path);

} // namespace korvex::larod
