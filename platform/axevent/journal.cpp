#include "platform/axevent/journal.h"

#include "platform/axevent/complain.h"
#include "platform/axevent/json_object.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace host_events {
namespace {

const char* name_of(Occurrence::What what) {
    switch (what) {
    case Occurrence::What::declared:
        return "declared";
    case Occurrence::What::event:
        return "event";
    case Occurrence::What::undeclared:
        break;
    }
    return "undeclared";
}

std::uint64_t size_of(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

std::string journal_line(const Occurrence& occurrence) {
    JsonObjectWriter json;
    json.text("time", occurrence.time)
        .text("what", name_of(occurrence.what))
        .text("topic", occurrence.topic)
        .text("nice_name", occurrence.nice_name);
    if (occurrence.active) {
        json.boolean("active", *occurrence.active);
    } else {
        json.null("active");
    }
    return json.finish();
}

Journal::Journal(std::string path, std::uint64_t limit_bytes, unsigned old_files)
    : m_path(std::move(path)), m_limit_bytes(limit_bytes), m_old_files(old_files) {}

void Journal::write(const std::string& line) {
    const bool written = append(line + "\n");
    if (!written && !m_failing) {
        complain("cannot write the journal " + m_path + ": " + std::strerror(errno) +
                 "; events go on, without it until it can be written again");
    }
    m_failing = !written;
}

int Journal::open_for(std::uint64_t added) const {
    // A pipe in the journal's place must not keep the sender waiting for somebody who reads it.
    const auto open_it = [this] {
        return open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644);
    };
    const int file = open_it();
    if (file < 0) {
        return file;
    }
    const std::uint64_t size = size_of(file);
    if (size == 0 || size + added <= m_limit_bytes) {
        return file;
    }
    close(file);
    rotate();
    return open_it();
}

bool Journal::append(const std::string& text) const {
    const int file = open_for(text.size());
    if (file < 0) {
        return false;
    }
    const std::uint64_t before = size_of(file);
    ssize_t written = 0;
    do {
        written = ::write(file, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    const bool whole = written == static_cast<ssize_t>(text.size());
    int failure = errno;
    if (!whole && written >= 0) {
        // A disk that fills up in the middle of a line: half a line would spoil the next one, too.
        failure = ftruncate(file, static_cast<off_t>(before)) == 0 ? ENOSPC : errno;
    }
    close(file);
    errno = failure;
    return whole;
}

void Journal::rotate() const {
    const auto old = [this](unsigned number) { return m_path + "." + std::to_string(number); };
    if (m_old_files == 0) {
        unlink(m_path.c_str());
        return;
    }
    for (unsigned number = m_old_files; number > 1; --number) {
        std::rename(old(number - 1).c_str(), old(number).c_str());
    }
    std::rename(m_path.c_str(), old(1).c_str());
}

} // namespace host_events
