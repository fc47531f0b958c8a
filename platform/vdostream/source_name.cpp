#include "platform/vdostream/source_name.h"

#include "platform/common/descriptor.h"
#include "platform/common/settings.h"
#include "platform/vdostream/error.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace vdostream {
namespace {

constexpr std::size_t longest_name = 4096;

/** Empty for what is no ordinary file: nothing else can be read again, and without waiting. */
std::string beginning_of(int file) {
    struct stat status {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return "";
    std::string text(longest_name, '\0');
    const ssize_t size = read(file, text.data(), text.size());
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
}

std::string first_line(const std::string& text) {
    const std::string line = text.substr(0, text.find('\n'));
    const auto begin = line.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin);
}

std::string name_in_file(const std::string& path) {
    const platform::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file)
        throw Failure(Code::no_source,
                      "The file " + path + " with the video source cannot be read: " + std::strerror(errno));
    std::string name = first_line(beginning_of(file.get()));
    if (name.empty())
        throw Failure(Code::no_source, "The file " + path + " must be an ordinary one whose first line is a video " +
                                           "source, such as rtsp://camera/stream");
    return name;
}

} // namespace

std::string source_name() {
    const std::string path = platform::environment("KORVEX_VDO_SOURCE_FILE");
    return path.empty() ? platform::environment_or("KORVEX_VDO_SOURCE", "scene") : name_in_file(path);
}

std::string printable(const std::string& name) {
    const auto scheme = name.find("://");
    const auto at = name.rfind('@');
    if (scheme == std::string::npos || at == std::string::npos || at < scheme)
        return name;
    return name.substr(0, scheme + 3) + "..." + name.substr(at);
}

} // namespace vdostream
