#pragma once

#include "platform/axevent/host_events.h"
#include "platform/common/descriptor.h"

#include <cstdint>
#include <string>

namespace host_events {

/** {"time":…,"what":"declared"|"event"|"undeclared","topic":…,"nice_name":…,"active":true|false|null} */
std::string journal_line(const Occurrence& occurrence);
/** {"time":…,"what":"problem","kind":…,"active":true|false,"text":…} */
std::string journal_line(const Problem& problem, const std::string& time);

/** {"time":…,"what":"stay","stay":…}; the stay is JSON already. */
std::string stay_line(const std::string& time, const std::string& stay);

/**
 * A file that only grows, one line for each occurrence. Before a line would make it larger than `limit_bytes` it
 * becomes PATH.1, that one PATH.2 and so on; the oldest beyond `old_files` goes. A line is whole or not there at all.
 *
 * The file is opened for each line: they are rare, and so a journal that somebody moved away, or whose disk was full
 * for a while, goes on by itself. No fsync: a line survives the end of the process, not that of the power.
 * A line that cannot be written is lost, with one message on stderr until one can be again. Not thread-safe.
 */
class Journal {
  public:
    Journal(std::string path, std::uint64_t limit_bytes, unsigned old_files);

    /** Adds the newline. */
    void write(const std::string& line);

  private:
    /** The file open for appending, rotated before if `added` more bytes would be too many; none with errno. */
    platform::Descriptor open_for(std::uint64_t added) const;
    /** 0, or the system's error. */
    int append(const std::string& text) const;
    void rotate() const;

    const std::string m_path;
    const std::uint64_t m_limit_bytes;
    const unsigned m_old_files;
    bool m_failing = false;
};

} // namespace host_events
