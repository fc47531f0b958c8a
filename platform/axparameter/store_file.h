#pragma once

#include "platform/common/descriptor.h"

#include <glib.h>
#include <sys/types.h>

#include <string>

namespace host_parameters {

/** Makes the folders above `path`, each one synchronised to the disk. */
bool make_folders_above(const std::string& path, GError** error);

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
/** Fails with the sentence for a full disk. */
bool no_room(const std::string& path, GError** error);

/**
 * Held while a store is opened, checked, replaced and filled, so that of several processes one does it. It is the
 * kernel's lock on `path`.lock: it ends with the process, whatever way the process ends.
 */
class OpeningLock {
  public:
    /** Waits up to busy_timeout_ms for other processes. */
    bool take(const std::string& path, GError** error);

  private:
    platform::Descriptor m_file;
};

} // namespace host_parameters
