#pragma once

#include <sqlite3.h>

#include <string>

namespace host_parameters {

/** Throws a SqlError with a damage code (see is_damage) for a broken database, whatever way it shows. */
void check_soundness(sqlite3* connection);

/**
 * Takes a damaged store out of the way: a new one at `path` with every value that can still be read, the old file kept
 * beside it as `path`.damaged-<time>, and a message on stderr that says so. The new store takes the old one's place in
 * one step. REQUIRES: no other process opens the store meanwhile (the caller holds its lock).
 * Throws a Failure when the folder cannot be written.
 */
void replace_damaged_store(const std::string& path, const std::string& reason);

} // namespace host_parameters
