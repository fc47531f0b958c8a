#include "base/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

// The calls with 64 in their names: a file's size is whole on a camera of 32 bits, too.

namespace {

constexpr mode_t kMode = 0666; // less what the process's mask takes away

using block = std::array<char, 32768>;

int flags_of(log_file::use what_for) {
    switch (what_for) {
    case log_file::use::appending:
        return O_WRONLY | O_APPEND | O_CREAT;
    case log_file::use::cutting:
        return O_RDWR;
    case log_file::use::reading:
        break;
    }
    return O_RDONLY;
}

/** Neither waits for the other end of a pipe nor for a device. */
int open_regular(const std::string& path, int flags) {
    const int descriptor = open64(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kMode);
    struct stat64 status {};
    if (descriptor >= 0 && (fstat64(descriptor, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

/** What stands between `begin` and `end`, as much of it as a block holds; empty at a failure. */
std::string_view read_block(int descriptor, block& into, int64_t begin, int64_t end) {
    const size_t wanted = std::min(static_cast<size_t>(std::max<int64_t>(end - begin, 0)), into.size());
    ssize_t got = 0;
    do
        got = pread64(descriptor, into.data(), wanted, begin);
    while (got < 0 && errno == EINTR);
    return {into.data(), got > 0 ? static_cast<size_t>(got) : 0};
}

/** How many of the bytes `write_some(bytes)` takes, asked again until it fails. */
template <typename Write>
size_t write_all(std::string_view bytes, Write write_some) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write_some(bytes.substr(written), written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        written += static_cast<size_t>(count);
    }
    return written;
}

bool write_at(int descriptor, std::string_view bytes, int64_t position) {
    return write_all(bytes, [descriptor, position](std::string_view rest, size_t done) {
               return pwrite64(descriptor, rest.data(), rest.size(), position + static_cast<int64_t>(done));
           }) == bytes.size();
}

} // namespace

log_file::log_file(const std::string& path, use what_for) : m_descriptor(open_regular(path, flags_of(what_for))) {}

log_file::~log_file() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

int64_t log_file::size() const {
    struct stat64 status {};
    return fstat64(m_descriptor, &status) == 0 ? status.st_size : -1;
}

void log_file::for_each_line(int64_t end, const std::function<void(std::string& line)>& take) const {
    block bytes{};
    std::string line;
    for (int64_t position = 0; position < end;) {
        std::string_view rest = read_block(m_descriptor, bytes, position, end);
        if (rest.empty())
            break;
        position += static_cast<int64_t>(rest.size());
        for (size_t newline = rest.find('\n'); newline != std::string_view::npos; newline = rest.find('\n')) {
            line.append(rest.substr(0, newline));
            take(line);
            line.clear();
            rest.remove_prefix(newline + 1);
        }
        line.append(rest);
    }
    if (!line.empty())
        take(line);
}

int64_t log_file::append(std::string_view lines) {
    const int64_t before = size();
    size_t written = write_all(lines, [this](std::string_view rest, size_t /*done*/) {
        return write(m_descriptor, rest.data(), rest.size());
    });
    if (written < lines.size()) {
        written = written > 0 ? lines.rfind('\n', written - 1) + 1 : 0; // no newline: none of it
        (void)!ftruncate64(m_descriptor, before + static_cast<int64_t>(written));
    }
    return static_cast<int64_t>(written);
}

void log_file::clear() {
    (void)!ftruncate64(m_descriptor, 0);
}

int64_t log_file::start_of_newest(uint64_t minimum) const {
    block bytes{};
    int64_t last_line = -1; // its beginning, once it is known
    uint64_t total = 0;     // characters of the lines looked at
    const int64_t file_end = size();
    for (int64_t end = file_end; end > 0;) {
        const int64_t begin = std::max<int64_t>(end - static_cast<int64_t>(bytes.size()), 0);
        const std::string_view text = read_block(m_descriptor, bytes, begin, end);
        if (static_cast<int64_t>(text.size()) < end - begin)
            return 0; // cannot be read: nothing is dropped
        for (int64_t position = end - 1; position >= begin; --position) {
            if (text[static_cast<size_t>(position - begin)] != '\n') {
                ++total;
            } else if (position != file_end - 1) { // the file's very last newline ends the last line
                if (last_line >= 0 && total > minimum)
                    return position + 1;
                if (last_line < 0)
                    last_line = position + 1;
            }
        }
        end = begin;
    }
    return total > minimum || last_line < 0 ? 0 : last_line;
}

void log_file::keep_from(int64_t start) {
    block bytes{};
    const int64_t end = size();
    int64_t kept = 0;
    bool ended = true; // the last line, by a newline
    for (int64_t position = start; position < end;) {
        const std::string_view text = read_block(m_descriptor, bytes, position, end);
        if (text.empty() || (kept != position && !write_at(m_descriptor, text, kept)))
            return;
        position += static_cast<int64_t>(text.size());
        kept += static_cast<int64_t>(text.size());
        ended = text.back() == '\n';
    }
    if (!ended && write_at(m_descriptor, "\n", kept))
        ++kept;
    (void)!ftruncate64(m_descriptor, kept);
}
