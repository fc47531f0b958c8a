#include "platform/larod/descriptor_io.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace korvex::larod {
namespace {

constexpr std::size_t most_model_bytes = std::size_t{512} << 20;
constexpr std::size_t block = std::size_t{1} << 20;

std::string system_error() {
    return std::strerror(errno);
}

/** Reads at `position`, or on from where a pipe is when it is negative; retries what a signal interrupted. */
ssize_t read_some(int fd, std::span<std::byte> bytes, off_t position) {
    ssize_t got = 0;
    do {
        got = position < 0 ? read(fd, bytes.data(), bytes.size()) : pread(fd, bytes.data(), bytes.size(), position);
    } while (got < 0 && errno == EINTR);
    return got;
}

} // namespace

bool read_whole(int fd, std::vector<std::byte>& bytes, std::string& why) {
    const bool seekable = lseek(fd, 0, SEEK_CUR) >= 0;
    bytes.clear();
    while (true) {
        const std::size_t had = bytes.size();
        if (had > most_model_bytes) {
            why = "The file is larger than any model can be (512 MiB).";
            return false;
        }
        bytes.resize(had + block);
        const ssize_t got = read_some(fd, std::span(bytes).subspan(had), seekable ? static_cast<off_t>(had) : -1);
        bytes.resize(had + static_cast<std::size_t>(got < 0 ? 0 : got));
        if (got < 0) {
            why = "Cannot read the file: " + system_error() + ".";
            return false;
        }
        if (got == 0)
            return true;
    }
}

bool read_in_place(int fd, std::span<std::byte> bytes, std::string& why) {
    const off_t start = lseek(fd, 0, SEEK_CUR);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = read_some(fd, bytes.subspan(done), start < 0 ? -1 : start + static_cast<off_t>(done));
        if (got < 0) {
            why = "Cannot read the input: " + system_error() + ".";
            return false;
        }
        if (got == 0) {
            why = "The input's file holds " + std::to_string(done) + " of the " + std::to_string(bytes.size()) +
                  " bytes that the model takes.";
            return false;
        }
        done += static_cast<std::size_t>(got);
    }
    return true;
}

bool write_on(int fd, std::span<const std::byte> bytes, std::string& why) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            why = "Cannot write the output: " + system_error() + ".";
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace korvex::larod
