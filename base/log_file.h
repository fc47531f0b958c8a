#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/**
 * The log's file, open while this object lives. Only a regular file counts: whatever else stands at its path, a pipe, a
 * device, a folder, is as a file that cannot be opened, and nothing ever waits for it.
 *
 * A file of any size takes little memory: it is read in blocks. Failures are silent; a file that is not open takes
 * nothing and gives nothing. One thread at a time, but others may append to the same file meanwhile.
 */
class log_file {
  public:
    /** `appending` makes a file that is missing. */
    enum class use { reading, appending, cutting };

    log_file(const std::string& path, use what_for);
    ~log_file();
    log_file(const log_file&) = delete;
    log_file& operator=(const log_file&) = delete;

    /** Bytes; -1 when the file is not open. */
    int64_t size() const;

    /** The lines of the first `end` bytes, without their newlines; `take` may use up the text. */
    void for_each_line(int64_t end, const std::function<void(std::string& line)>& take) const;

    /** Writes whole lines: on a full disk as many of them as find room. The bytes written. */
    int64_t append(std::string_view lines);

    void clear();

    /**
     * Where the newest lines begin, at least two of them, whose lengths just exceed `minimum`, newlines not counted.
     * When all lines together do not exceed it, only the last is newest: deliberate, a file that is purged with so
     * little text in it is damaged.
     */
    int64_t start_of_newest(uint64_t minimum) const;

    /** Drops what stands before `start`, a line's beginning, in place: a full disk has no room for a second file. */
    void keep_from(int64_t start);

  private:
    int m_descriptor;
};
