#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace korvex::larod {

/** The whole file from its start, whatever the position; a pipe is read to its end. False with a sentence in `why`. */
bool read_whole(int fd, std::vector<std::byte>& bytes, std::string& why);

/**
 * Fills `bytes` from the descriptor's current position. The position stays: an application writes its input through a
 * mapping and never rewinds, so a position that moved would leave nothing to read for its second inference. A pipe is
 * read from. False with a sentence in `why`, also when the file holds too little.
 */
bool read_in_place(int fd, std::span<std::byte> bytes, std::string& why);

/** Writes at the current position, which moves on; the file grows as needed. False with a sentence in `why`. */
bool write_on(int fd, std::span<const std::byte> bytes, std::string& why);

} // namespace korvex::larod
