#include "vision/mmfile.h"

#include "base/logger.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

void log_failure(const char* function, const std::string& what) {
    g_Logger.error(std::string(function) + ": Failed to " + what + " : " + strerror(errno));
}

/**
 * Takes the file's blocks from the disk now: a mapping that finds no room when it is written to ends the process with
 * SIGBUS. A file system that cannot reserve, and an empty file, are left as they are. False with errno set.
 */
bool reserve(int file, int size) {
    if (size <= 0)
        return true; // refused by the mapping
    int refusal = 0;
    do
        refusal = posix_fallocate(file, 0, size);
    while (refusal == EINTR);
    errno = refusal;
    return refusal == 0 || refusal == EOPNOTSUPP || refusal == EINVAL;
}

} // namespace

MemoryMappedFile::MemoryMappedFile(const std::string& name_template, int size)
    : m_filename(name_template), m_filesize(size) {
    m_fileDescriptor = mkstemp(m_filename.data());
    if (m_fileDescriptor < 0) {
        log_failure("MemoryMappedFile", "create temporary file " + m_filename);
        throw "Failed to create temporary file";
    }
    if (ftruncate(m_fileDescriptor, m_filesize) != 0 || !reserve(m_fileDescriptor, m_filesize)) {
        log_failure("MemoryMappedFile",
                    "adjust temporary file " + m_filename + " to size " + std::to_string(m_filesize));
        close(m_fileDescriptor);
        unlink(m_filename.c_str());
        throw "Failed to adjust file size";
    }
    if (unlink(m_filename.c_str()) != 0)
        log_failure("MemoryMappedFile", "unlink temporary file " + m_filename);

    m_buffer = mmap(nullptr, static_cast<size_t>(m_filesize), PROT_READ | PROT_WRITE, MAP_SHARED, m_fileDescriptor, 0);
    if (m_buffer == MAP_FAILED) {
        log_failure("MemoryMappedFile", "create map file " + m_filename);
        close(m_fileDescriptor);
        throw "Failed to create map file";
    }
}

MemoryMappedFile::~MemoryMappedFile() {
    if (munmap(m_buffer, static_cast<size_t>(m_filesize)) != 0)
        log_failure("~MemoryMappedFile", "unmap mapped file " + m_filename);
    close(m_fileDescriptor);
}

bool MemoryMappedFile::rewind() {
    if (lseek(m_fileDescriptor, 0, SEEK_SET) == 0)
        return true;
    log_failure("rewind", "rewind mapped file " + m_filename);
    return false;
}
