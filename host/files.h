#pragma once

#include <string>

namespace console {

/** A file, no folder or device, that this user may read. */
bool is_readable_file(const std::string& path);

/** It can be written, or made. It is not made here: something else may still be wrong. */
bool can_write(const std::string& path);

/** The absolute path without links; what does not exist yet may be at its end. */
std::string full_path(const std::string& path);

/** What a file holds; nothing when it cannot be read. */
std::string contents_of(const std::string& path);

/** The text up to its first line end. */
std::string first_line(const std::string& text);

} // namespace console
