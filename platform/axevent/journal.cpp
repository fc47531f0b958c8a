#include "platform/axevent/journal.h"

#include "platform/axevent/failure.h"
#include "platform/axevent/json.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace host_events {
namespace {

/** In their order. */
constexpr std::array names = {"declared", "event", "undeclared"};

std::uint64_t size_of(const platform::Descriptor& file) {
    struct stat status = {};
    return fstat(file.get(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

std::string journal_line(const Occurrence& occurrence) {
    return json_object({{"time", json_text(occurrence.time)},
                        {"what", json_text(names[static_cast<std::size_t>(occurrence.what)])},
                        {"topic", json_text(occurrence.topic)},
                        {"nice_name", json_text(occurrence.nice_name)},
                        {"active", !occurrence.active   ? "null"
                                   : *occurrence.active ? "true"
                                                        : "false"}});
}

std::string journal_line(const Problem& problem, const std::string& time) {
    return json_object({{"time", json_text(time)},
                        {"what", json_text("problem")},
                        {"kind", json_text(problem.kind)},
                        {"active", problem.active ? "true" : "false"},
                        {"text", json_text(problem.text)}});
}

std::string stay_line(const std::string& time, const std::string& stay) {
    return json_object({{"time", json_text(time)}, {"what", json_text("stay")}, {"stay", stay}});
}

Journal::Journal(std::string path, std::uint64_t limit_bytes, unsigned old_files)
    : m_path(std::move(path)), m_limit_bytes(limit_bytes), m_old_files(old_files) {}

void Journal::write(const std::string& line) {
    const int failure = append(line + "\n");
    if (failure != 0 && !m_failing)
        complain("cannot write the journal " + m_path + ": " + std::strerror(failure) +
                 "; events go on, without it until it can be written again");
    m_failing = failure != 0;
}

platform::Descriptor Journal::open_for(std::uint64_t added) const {
    // A pipe in the journal's place must not keep the sender waiting for somebody who reads it.
    const auto open_it = [this] {
        return platform::Descriptor(open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644));
    };
    platform::Descriptor file = open_it();
    const std::uint64_t size = file ? size_of(file) : 0;
    if (size == 0 || size + added <= m_limit_bytes)
        return file;
    file.reset();
    rotate();
    return open_it();
}

int Journal::append(const std::string& text) const {
    const platform::Descriptor file = open_for(text.size());
    if (!file)
        return errno;
    const std::uint64_t before = size_of(file);
    const ssize_t written = TEMP_FAILURE_RETRY(::write(file.get(), text.data(), text.size()));
    if (written < 0)
        return errno;
    if (written == static_cast<ssize_t>(text.size()))
        return 0;
    // A disk that fills up in the middle of a line: half a line would spoil the next one, too.
    return ftruncate(file.get(), static_cast<off_t>(before)) == 0 ? ENOSPC : errno;
}

void Journal::rotate() const {
    const auto old = [this](unsigned number) { return m_path + "." + std::to_string(number); };
    if (m_old_files == 0) {
        unlink(m_path.c_str());
        return;
    }
    for (unsigned number = m_old_files; number > 1; --number)
        std::rename(old(number - 1).c_str(), old(number).c_str());
    std::rename(m_path.c_str(), old(1).c_str());
}

} // namespace host_events
