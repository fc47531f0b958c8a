#pragma once

#include <glib.h>
#include <sqlite3.h>

#include <string>

namespace host_parameters {

/** SQLITE_OK for a sound database; a damage code (see is_damage) for a broken one, whatever way it shows. */
int check_soundness(sqlite3* connection);

/**
 * Takes a damaged store out of the way: a new one at `path` with every value that can still be read, the old file kept
 * beside it as `path`.damaged-<time>, and a message on stderr that says so. The new store takes the old one's place in
 * one step. REQUIRES: no other process opens the store meanwhile (the caller holds its lock).
 * False with `error` set when the folder cannot be written.
 */
bool replace_damaged_store(const std::string& path, const std::string& reason, GError** error);

} // namespace host_parameters
