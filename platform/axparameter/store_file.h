#pragma once

#include <glib.h>

#include <string>

namespace host_parameters {

/** Makes the folders above `path`, each one synchronised to the disk. */
bool make_folders_above(const std::string& path, GError** error);

/** Held while a store is opened, checked, replaced and filled, so that of several processes one does it. It is the
    kernel's lock on `path`.lock: it ends with the process, whatever way the process ends. */
class OpeningLock {
  public:
    OpeningLock() = default;
    OpeningLock(const OpeningLock&) = delete;
    OpeningLock& operator=(const OpeningLock&) = delete;
    ~OpeningLock();
    /** Waits up to busy_timeout_ms for other processes. */
    bool take(const std::string& path, GError** error);

  private:
    int descriptor_ = -1;
};

} // namespace host_parameters
