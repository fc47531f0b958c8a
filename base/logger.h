#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

enum LogLevel : int32_t { Info = 0, Warning = 1, Error = 2 };

/** One line of the log, in its four texts. */
struct LogEntry {
    std::string _dateTime; // local time, "%Y-%m-%d %H:%M:%S"
    std::string _appName;
    std::string _logLevel; // "info", "warning" or "error"
    std::string _message;

    /** The four texts joined by "|", unescaped: a message may hold "|" or a newline. */
    std::string serialize() const;

    /** The four texts joined by one blank. */
    std::string serializeAsPlainText() const;

    /**
     * Reads a serialised line and uses it up: what is left in `line` is the message. Everything between the third "|"
     * and the last is dropped, and a line with fewer than three "|" has its last piece as the message; both are
     * deliberate: kept as they are.
     */
    static LogEntry deserialize(std::string& line);
};

/**
 * The application's log: entries collect in memory and reach the file in batches; once a day the file is cut from 2 MiB
 * back to its newest MiB, and earlier when this logger has written 8 MiB since it last looked.
 *
 * Any thread may call any operation, and whoever logs does not wait for whoever reads. Nothing is reported: entries
 * that cannot be written are gone, and a file that is none, but a pipe, a device or a folder, cannot be opened. After
 * `close` lines are dropped silently.
 */
class Logger {
  public:
    /** `logfilePath`'s folder is made when it is missing and the path is relative. */
    Logger(const std::string& appName, const std::string& logfilePath);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    void info(const std::string& msg);
    void warning(const std::string& msg);
    void error(const std::string& msg);

    /** Writes the file when this is the 101st waiting entry. */
    void addLogEntry(LogLevel level, const std::string& msg);

    /** Appends the waiting entries to the file and purges it when a purge is due; while somebody reads it that waits.
     */
    void flush();

    /** The file's lines without their newlines; empty when it cannot be read. Does not flush. */
    std::vector<std::string> getLogLines();
    std::vector<LogEntry> getLogEntriesFromFile();

    /** Flushes, then gives the whole file, one entry a line. Takes the memory of the answer and no more. */
    std::string getSerializedLogContents();
    std::string getPlainLogContents();

    /** Drops the waiting entries unwritten and empties the file. */
    void clear();

    /** The low 32 bits of the file's bytes; -1 when it cannot be opened. */
    int32_t getLogFileSize();

    /** Cuts a file of at least `_maxSize` back to its newest lines, just over `_minSize` characters of them. */
    void purge();

    std::string getCurrentDateTime();
    std::string timeToString(time_t time);
    void incrementNextPurgeDate();

    /** Writes the last lines. The destructor does it too, when nobody has before. */
    void close();

    /** The same, unless another thread keeps the log for so long; false then. */
    bool close_within(std::chrono::milliseconds patience);

  public:
    std::string _appName;
    std::string _logfilePath;
    std::vector<LogEntry> _logEntries; // not yet written
    int32_t _minSize = 0x100000;       // characters that a purge keeps
    int32_t _maxSize = 0x200000;       // bytes from which a purge happens
    time_t _nextPurgeCheckDate;        // earliest time at which a flush may purge
    int32_t _purgeCheckInterval = 1;   // days

  private:
    class section;
    class view;

    // With the lock held:
    void add(LogLevel level, const std::string& msg);
    void write_waiting();
    void write_last_lines();
    void cut();
    void move_purge_date();

    int64_t file_size() const;

    std::mutex _mutex; // guards everything above and below
    bool _closed = false;
    int64_t _appended = 0; // bytes since the last purge check
    int _viewers = 0;      // readers of the file who do not hold the lock
};

/** Outlives every other process-wide object: their destructors may still log. */
extern Logger& g_Logger;
