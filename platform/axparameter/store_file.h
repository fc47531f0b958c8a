#pragma once

#include "platform/common/descriptor.h"

#include <sys/types.h>

#include <string>

namespace host_parameters {

/** Makes the folders above `path`, each one synchronised to the disk. Throws a Failure. */
void make_folders_above(const std::string& path);

/** Which file a name means; the default for none. */
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const FileIdentity&) const = default;
};
FileIdentity identity_of(const std::string& path);

/** True for the system errors that mean a full disk. */
bool is_lack_of_room(int system_error);
/** Whether the folder of `path` has room for some saves of all parameters. True where that cannot be found out. */
bool has_room_for_saves(const std::string& path);
/** Throws the Failure of a full disk. */
[[noreturn]] void fail_for_lack_of_room(const std::string& path);

/**
 * Held while a store is opened, checked, replaced and filled, so that of several processes one does it. It is the
 * kernel's lock on `path`.lock: it ends with the process, whatever way the process ends.
 */
class OpeningLock {
  public:
    /** Waits up to busy_timeout_ms for other processes; then, or when there can be none, throws a Failure. */
    explicit OpeningLock(const std::string& path);

  private:
    platform::Descriptor m_file;
};

} // namespace host_parameters
