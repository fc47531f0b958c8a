#include "platform/larod/descriptor_io.h"

#include "platform/larod/failure.h"

#include <unistd.h>

#include <string>

namespace korvex::larod {
namespace {

constexpr std::size_t most_model_bytes = std::size_t{512} << 20;
constexpr std::size_t block = std::size_t{1} << 20;

/** Reads on from `position`, or from where a pipe is when that is negative, until `bytes` are full or the end comes. */
std::size_t fill(int fd, std::span<std::byte> bytes, off_t position, const char* what) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto rest = bytes.subspan(done);
        const ssize_t got =
            TEMP_FAILURE_RETRY(position < 0 ? read(fd, rest.data(), rest.size())
                                            : pread(fd, rest.data(), rest.size(), position + static_cast<off_t>(done)));
        if (got < 0)
            throw refused_by_system(Code::descriptor, std::string("Cannot read the ") + what);
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

} // namespace

std::vector<std::byte> read_whole(int fd) {
    const bool seekable = lseek(fd, 0, SEEK_CUR) >= 0;
    std::vector<std::byte> bytes;
    std::size_t size = 0;
    while (size == bytes.size()) {
        if (size > most_model_bytes)
            throw Failure(Code::descriptor, "The file is larger than any model can be (512 MiB).");
        bytes.resize(size + block);
        size += fill(fd, std::span(bytes).subspan(size), seekable ? static_cast<off_t>(size) : -1, "file");
    }
    bytes.resize(size);
    return bytes;
}

void read_in_place(int fd, std::span<std::byte> bytes) {
    const std::size_t done = fill(fd, bytes, lseek(fd, 0, SEEK_CUR), "input");
    if (done < bytes.size())
        throw Failure(Code::descriptor, "The input's file holds " + std::to_string(done) + " of the " +
                                            std::to_string(bytes.size()) + " bytes that the model takes.");
}

void write_on(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = TEMP_FAILURE_RETRY(write(fd, bytes.data(), bytes.size()));
        if (written < 0)
            throw refused_by_system(Code::descriptor, "Cannot write the output");
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

} // namespace korvex::larod
