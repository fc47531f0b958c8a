#include "base/logger.h"

#include "base/arithmetic.h"
#include "base/blocked_signals.h"
#include "base/log_file.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <thread>

namespace {

constexpr std::array<const char*, 3> kLevelWords = {"info", "warning", "error"};
constexpr size_t kBatch = 100;
// Bytes. A camera whose set-up has failed writes 140 MB a day: the daily check alone would let it fill the flash.
constexpr int64_t kMostBetweenChecks = 0x800000;

/** Date and time, application, level and message of a serialised line, by the rule of `LogEntry::deserialize`. */
using fields = std::array<std::string_view, 4>;

fields fields_of(std::string_view line) {
    fields found;
    size_t field = 0;
    for (size_t bar = line.find('|'); bar != std::string_view::npos; bar = line.find('|')) {
        if (field < found.size() - 1)
            found.at(field++) = line.substr(0, bar);
        line.remove_prefix(bar + 1);
    }
    found.back() = line;
    return found;
}

void append_joined(std::string& text, const fields& parts, char separator) {
    text += parts.front();
    for (size_t i = 1; i < parts.size(); ++i)
        (text += separator) += parts.at(i);
}

std::string joined(const LogEntry& entry, char separator) {
    std::string text;
    append_joined(text, {entry._dateTime, entry._appName, entry._logLevel, entry._message}, separator);
    return text;
}

void make_folder_of(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty() || folder.is_absolute())
        return;
    std::error_code ignored; // the file that cannot be opened afterwards tells the same
    std::filesystem::create_directory(folder, ignored);
}

} // namespace

/**
 * Holds the log's lock. Signals wait meanwhile: the SIGTERM handler ends a start-up in which the log takes its last
 * lines from another thread, and must not have stopped the thread that holds this.
 */
class Logger::section {
  public:
    explicit section(Logger& log) : m_lock(log._mutex) {}
    /** Gives up waiting for the lock after `patience`. */
    section(Logger& log, std::chrono::milliseconds patience) : m_lock(log._mutex, std::try_to_lock) {
        constexpr std::chrono::milliseconds pause(2);
        for (std::chrono::milliseconds waited(0); !m_lock.owns_lock() && waited < patience; waited += pause) {
            std::this_thread::sleep_for(pause);
            (void)m_lock.try_lock();
        }
    }
    bool is_held() const { return m_lock.owns_lock(); }

  private:
    const blocked_signals m_blocked; // first and last
    std::unique_lock<std::mutex> m_lock;
};

/**
 * What stands in the file when this is made. It is read without the lock: whoever logs need not wait for a reader, only
 * the purge does.
 */
class Logger::view {
  public:
    enum class waiting_entries { stay, written_first };

    view(Logger& log, waiting_entries waiting) : m_log(log) {
        const section held(log);
        if (waiting == waiting_entries::written_first)
            log.write_waiting();
        m_file.emplace(log._logfilePath, log_file::use::reading);
        m_size = m_file->size();
        ++log._viewers;
    }
    ~view() {
        const section held(m_log);
        --m_log._viewers;
    }
    view(const view&) = delete;
    view& operator=(const view&) = delete;

    void for_each_line(const std::function<void(std::string& line)>& take) const {
        m_file->for_each_line(m_size, take);
    }

    /** Every entry in one text, its fields joined by `separator`. */
    std::string contents(char separator) const {
        std::string text;
        text.reserve(static_cast<size_t>(std::max<int64_t>(m_size, 0))); // an entry's text is as long as its line
        for_each_line([&text, separator](const std::string& line) {
            append_joined(text, fields_of(line), separator);
            text += '\n';
        });
        return text;
    }

  private:
    Logger& m_log;
    std::optional<log_file> m_file;
    int64_t m_size = -1;
};

std::string LogEntry::serialize() const {
    return joined(*this, '|');
}

std::string LogEntry::serializeAsPlainText() const {
    return joined(*this, ' ');
}

LogEntry LogEntry::deserialize(std::string& line) {
    const fields found = fields_of(line);
    LogEntry entry{std::string(found[0]), std::string(found[1]), std::string(found[2]), std::string(found[3])};
    line = entry._message;
    return entry;
}

Logger::Logger(const std::string& appName, const std::string& logfilePath)
    : _appName(appName), _logfilePath(logfilePath), _nextPurgeCheckDate(time(nullptr)) {
    _logEntries.reserve(kBatch +
                        2); // at a forced end no memory of the thread that is stopped is touched before the write
    incrementNextPurgeDate();
    warning("STARTING " + _appName);
}

Logger::~Logger() {
    close();
}

void Logger::close() {
    const section held(*this);
    write_last_lines();
}

bool Logger::close_within(std::chrono::milliseconds patience) {
    const section held(*this, patience);
    if (held.is_held())
        write_last_lines();
    return held.is_held();
}

void Logger::write_last_lines() {
    if (_closed)
        return;
    add(Warning, "STOPPING " + _appName);
    add(Warning, ""); // a blank line between two runs
    write_waiting();
    _closed = true;
}

void Logger::info(const std::string& msg) {
    addLogEntry(Info, msg);
}

void Logger::warning(const std::string& msg) {
    addLogEntry(Warning, msg);
}

void Logger::error(const std::string& msg) {
    addLogEntry(Error, msg);
}

void Logger::addLogEntry(LogLevel level, const std::string& msg) {
    const section held(*this);
    add(level, msg);
}

void Logger::add(LogLevel level, const std::string& msg) {
    if (_closed)
        return;
    _logEntries.push_back({getCurrentDateTime(), _appName, kLevelWords.at(static_cast<size_t>(level)), msg});
    if (_logEntries.size() > kBatch)
        write_waiting();
}

void Logger::flush() {
    const section held(*this);
    write_waiting();
}

void Logger::write_waiting() {
    make_folder_of(_logfilePath);
    std::string lines;
    for (const LogEntry& entry : _logEntries)
        lines += entry.serialize() + '\n';
    _appended += log_file(_logfilePath, log_file::use::appending).append(lines);
    _logEntries.clear();
    const time_t now = time(nullptr);
    if (_appended >= kMostBetweenChecks)
        _nextPurgeCheckDate = std::min(_nextPurgeCheckDate, now - 1);
    if (now > _nextPurgeCheckDate && _viewers == 0) {
        cut();
        move_purge_date();
        _appended = 0;
    }
}

std::vector<std::string> Logger::getLogLines() {
    std::vector<std::string> lines;
    view(*this, view::waiting_entries::stay).for_each_line([&lines](const std::string& line) {
        lines.push_back(line);
    });
    return lines;
}

std::vector<LogEntry> Logger::getLogEntriesFromFile() {
    std::vector<LogEntry> entries;
    view(*this, view::waiting_entries::stay).for_each_line([&entries](std::string& line) {
        entries.push_back(LogEntry::deserialize(line));
    });
    return entries;
}

std::string Logger::getSerializedLogContents() {
    return view(*this, view::waiting_entries::written_first).contents('|');
}

std::string Logger::getPlainLogContents() {
    return view(*this, view::waiting_entries::written_first).contents(' ');
}

void Logger::clear() {
    const section held(*this);
    _logEntries.clear();
    log_file(_logfilePath, log_file::use::appending).clear();
    _appended = 0;
}

int32_t Logger::getLogFileSize() {
    return static_cast<int32_t>(file_size());
}

int64_t Logger::file_size() const {
    return log_file(_logfilePath, log_file::use::reading).size();
}

void Logger::purge() {
    const section held(*this);
    cut();
}

void Logger::cut() {
    const int64_t size = file_size();
    if (size < _maxSize)
        return;
    add(Info, "Purging log file. Initial log file size=" + std::to_string(size) + " bytes.");
    {
        log_file file(_logfilePath, log_file::use::cutting);
        file.keep_from(file.start_of_newest(static_cast<uint64_t>(_minSize)));
    }
    add(Info, "Purging log file. Final log file size=" + std::to_string(file_size()) + " bytes.");
}

std::string Logger::getCurrentDateTime() {
    return timeToString(time(nullptr));
}

std::string Logger::timeToString(time_t time) {
    tm local{};
    tzset(); // unlike localtime, localtime_r does not notice by itself that the camera's time zone has been changed
    localtime_r(&time, &local);
    std::array<char, 80> text{};
    strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return text.data();
}

void Logger::incrementNextPurgeDate() {
    const section held(*this);
    move_purge_date();
}

void Logger::move_purge_date() {
    const int32_t seconds = wrap_multiply(_purgeCheckInterval, 86400);
    _nextPurgeCheckDate += seconds;
}
