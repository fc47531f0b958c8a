#pragma once

#include <cstddef>
#include <span>
#include <vector>

/** Whole reads and writes of what a caller has opened. They throw a Failure that names the descriptor's part. */
namespace korvex::larod {

/** The whole file from its start, whatever the position; a pipe is read to its end. */
std::vector<std::byte> read_whole(int fd);

/**
 * Fills `bytes` from the file's current position. The position stays: an application writes its input through a mapping
 * and never rewinds, so a position that moved would leave nothing to read for its second inference. Fails also when the
 * file holds too little.
 */
void read_in_place(int fd, std::span<std::byte> bytes);

/** Writes at the current position, which moves on; the file grows as needed. */
void write_on(int fd, std::span<const std::byte> bytes);

} // namespace korvex::larod
