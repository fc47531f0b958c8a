#include "host/output_file.h"

#include "host/refusal.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

namespace console {

namespace fs = std::filesystem;

platform::Descriptor open_output(const std::string& path, mode_t mask) {
    constexpr mode_t usual_rights = 0666;
    const mode_t before = umask(mask);
    platform::Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, usual_rights));
    umask(before);
    if (file.get() < 0)
        throw Refusal("\"" + path + "\" cannot be written.");
    return file;
}

RecordingFile::RecordingFile(const std::string& path, mode_t mask) {
    std::error_code ignored;
    if (!path.empty() && !fs::exists(path, ignored)) {
        open_output(path, mask);
        m_made = path;
    }
}

RecordingFile::~RecordingFile() {
    std::error_code ignored;
    if (!m_made.empty() && fs::file_size(m_made, ignored) == 0)
        fs::remove(m_made, ignored);
}

} // namespace console
