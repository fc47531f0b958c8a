#pragma once

#include "platform/common/descriptor.h"

#include <sys/types.h>

#include <string>

namespace console {

/** Makes or empties what the user asked for by name, as the user makes files (`mask`), whatever the state folder's are
    made like. Throws Refusal when that cannot be done. */
platform::Descriptor open_output(const std::string& path, mode_t mask);

/** The file of a recording. It is there before the program starts: what the program made in a folder that its view
    covers would be lost with the view. A recording that never began leaves no file. */
class RecordingFile {
  public:
    /** Nothing happens for an empty path, or for a file that is there. */
    RecordingFile(const std::string& path, mode_t mask);
    ~RecordingFile();
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;

  private:
    std::string m_made;
};

} // namespace console
