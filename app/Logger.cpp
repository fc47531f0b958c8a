#include "app/Logger.h"

#include "app/arithmetic.h"

#include <array>
#include <filesystem>
#include <fstream>

namespace {

constexpr std::array<const char*, 3> kLevelWords = {"info", "warning", "error"};
constexpr size_t kBatch = 100;

std::string join(const LogEntry& entry, char separator) {
    return entry._dateTime + separator + entry._appName + separator + entry._logLevel + separator + entry._message;
}

void make_folder_of(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty() || folder.is_absolute())
        return;
    std::error_code ignored; // the file that cannot be opened afterwards tells the same
    std::filesystem::create_directory(folder, ignored);
}

} // namespace

std::string LogEntry::serialize() const {
    return join(*this, '|');
}

std::string LogEntry::serializeAsPlainText() const {
    return join(*this, ' ');
}

LogEntry LogEntry::deserialize(std::string& line) {
    LogEntry entry;
    const std::array<std::string*, 3> fields = {&entry._dateTime, &entry._appName, &entry._logLevel};
    size_t field = 0;
    size_t begin = 0;
    for (size_t bar = line.find('|'); bar != std::string::npos; bar = line.find('|', begin)) {
        if (field < fields.size())
            *fields[field++] = line.substr(begin, bar - begin);
        begin = bar + 1;
    }
    line.erase(0, begin);
    entry._message = line;
    return entry;
}

Logger::Logger(const std::string& appName, const std::string& logfilePath)
    : _appName(appName), _logfilePath(logfilePath), _nextPurgeCheckDate(time(nullptr)) {
    incrementNextPurgeDate();
    warning("STARTING " + _appName);
}

Logger::~Logger() {
    close();
}

void Logger::close() {
    const std::scoped_lock lock(_mutex);
    if (_closed)
        return;
    warning("STOPPING " + _appName);
    warning(""); // a blank line between two runs
    flush();
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
    const std::scoped_lock lock(_mutex);
    if (_closed)
        return;
    _logEntries.push_back({getCurrentDateTime(), _appName, kLevelWords.at(static_cast<size_t>(level)), msg});
    if (_logEntries.size() > kBatch)
        flush();
}

void Logger::flush() {
    const std::scoped_lock lock(_mutex);
    make_folder_of(_logfilePath);
    {
        std::ofstream file(_logfilePath, std::ios::app);
        for (const LogEntry& entry : _logEntries)
            file << entry.serialize() << '\n';
        _logEntries.clear();
    }
    if (time(nullptr) > _nextPurgeCheckDate) {
        purge();
        incrementNextPurgeDate();
    }
}

std::vector<std::string> Logger::getLogLines() {
    const std::scoped_lock lock(_mutex);
    std::vector<std::string> lines;
    std::ifstream file(_logfilePath);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::vector<LogEntry> Logger::getLogEntriesFromFile() {
    std::vector<LogEntry> entries;
    for (std::string& line : getLogLines())
        entries.push_back(LogEntry::deserialize(line));
    return entries;
}

std::string Logger::getSerializedLogContents() {
    const std::scoped_lock lock(_mutex);
    flush();
    std::string contents;
    for (const LogEntry& entry : getLogEntriesFromFile())
        contents += entry.serialize() + "\n";
    return contents;
}

std::string Logger::getPlainLogContents() {
    const std::scoped_lock lock(_mutex);
    flush();
    std::string contents;
    for (const LogEntry& entry : getLogEntriesFromFile())
        contents += entry.serializeAsPlainText() + "\n";
    return contents;
}

void Logger::clear() {
    const std::scoped_lock lock(_mutex);
    _logEntries.clear();
    const std::ofstream file(_logfilePath, std::ios::trunc);
}

int32_t Logger::getLogFileSize() {
    const std::scoped_lock lock(_mutex);
    std::ifstream file(_logfilePath, std::ios::binary | std::ios::ate);
    return static_cast<int32_t>(file.tellg());
}

void Logger::purge() {
    const std::scoped_lock lock(_mutex);
    const int32_t size = getLogFileSize();
    if (size < _maxSize)
        return;
    info("Purging log file. Initial log file size=" + std::to_string(size) + " bytes.");

    const std::vector<std::string> lines = getLogLines();
    // When all lines together stay within the limit only the last is kept: deliberate, a file of this size with so
    // little text in it is damaged.
    size_t start = lines.empty() ? 0 : lines.size() - 1;
    size_t total = lines.empty() ? 0 : lines.back().size();
    for (size_t i = start; i-- > 0;) {
        total += lines[i].size();
        if (total > static_cast<size_t>(_minSize)) {
            start = i;
            break;
        }
    }
    {
        std::ofstream file(_logfilePath, std::ios::trunc);
        for (size_t i = start; i < lines.size(); ++i)
            file << lines[i] << '\n';
    }
    info("Purging log file. Final log file size=" + std::to_string(getLogFileSize()) + " bytes.");
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
    const std::scoped_lock lock(_mutex);
    const int32_t seconds = wrap_multiply(_purgeCheckInterval, 86400);
    _nextPurgeCheckDate += seconds;
}
