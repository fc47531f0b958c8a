#include "base/logger.h"
#include "tests/doubles/core_fixture.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <regex>
#include <thread>
#include <utility>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kFile = "log.txt";

std::function<void()> at_first_read; // done once, when the log reads its file, on the thread that does

} // namespace

extern "C" {
ssize_t __real_pread64(int, void*, size_t, off64_t);

ssize_t __wrap_pread64(int fd, void* bytes, size_t count, off64_t offset) {
    if (const auto deed = std::exchange(at_first_read, nullptr))
        deed();
    return __real_pread64(fd, bytes, count, offset);
}
}

namespace {

class LoggerTest : public core_fixture {
  protected:
    static void write_file(const std::string& bytes) { std::ofstream(kFile, std::ios::binary) << bytes; }

    /** The waiting messages. */
    static std::vector<std::string> waiting(const Logger& log) {
        std::vector<std::string> messages;
        for (const LogEntry& entry : log._logEntries)
            messages.push_back(entry._logLevel + "|" + entry._message);
        return messages;
    }

    /** The messages in the file. */
    static std::vector<std::string> written(Logger& log) {
        std::vector<std::string> messages;
        for (const LogEntry& entry : log.getLogEntriesFromFile())
            messages.push_back(entry._logLevel + "|" + entry._message);
        return messages;
    }

    static void make_purge_due(Logger& log) { log._nextPurgeCheckDate = time(nullptr) - 1; }
};

TEST_F(LoggerTest, AnEntryIsFourTextsJoinedByBarsOrBlanks) {
    const LogEntry entry{"2024-05-06 07:08:09", "app", "error", "it broke"};
    EXPECT_EQ(entry.serialize(), "2024-05-06 07:08:09|app|error|it broke");
    EXPECT_EQ(entry.serializeAsPlainText(), "2024-05-06 07:08:09 app error it broke");
    EXPECT_EQ(LogEntry().serialize(), "|||");
    LogEntry copy = entry;
    copy._message += '!';
    EXPECT_EQ(copy.serialize(), entry.serialize() + "!");
}

TEST_F(LoggerTest, AMessageIsWrittenUnescaped) {
    EXPECT_EQ((LogEntry{"d", "a", "info", "x|y\nz"}.serialize()), "d|a|info|x|y\nz");
}

TEST_F(LoggerTest, ALineIsReadBackByItsBars) {
    const struct {
        std::string line;
        std::array<std::string, 4> fields;
    } table[] = {
        {"date|app|info|message", {"date", "app", "info", "message"}},
        {"date|app|info|a|b", {"date", "app", "info", "b"}},
        {"date|app|info|a|b|c|", {"date", "app", "info", ""}},
        {"date|app|info|", {"date", "app", "info", ""}},
        {"date|app|rest", {"date", "app", "", "rest"}},
        {"date|rest", {"date", "", "", "rest"}},
        {"rest", {"", "", "", "rest"}},
        {"", {"", "", "", ""}},
        {"|||", {"", "", "", ""}},
        {"|||||x", {"", "", "", "x"}},
    };
    for (const auto& [line, fields] : table) {
        std::string rest = line;
        const LogEntry entry = LogEntry::deserialize(rest);
        EXPECT_THAT((std::array{entry._dateTime, entry._appName, entry._logLevel, entry._message}),
                    testing::ElementsAreArray(fields))
            << line;
        EXPECT_EQ(rest, fields[3]) << "the line is used up to its last bar";
    }
}

TEST_F(LoggerTest, BeginsWithAWarningAndItsLimits) {
    const time_t before = time(nullptr);
    Logger log("korvex", kFile);
    const time_t after = time(nullptr);
    EXPECT_THAT(waiting(log), ElementsAre("warning|STARTING korvex"));
    EXPECT_EQ(log._appName, "korvex");
    EXPECT_EQ(log._logfilePath, kFile);
    EXPECT_EQ(log._minSize, 1048576);
    EXPECT_EQ(log._maxSize, 2097152);
    EXPECT_EQ(log._purgeCheckInterval, 1);
    EXPECT_GE(log._nextPurgeCheckDate, before + 86400);
    EXPECT_LE(log._nextPurgeCheckDate, after + 86400);
    EXPECT_FALSE(std::filesystem::exists(kFile)) << "nothing is written yet";
}

TEST_F(LoggerTest, EndsWithAWarningAndABlankOne) {
    { Logger log("korvex", kFile); }
    std::string pattern;
    for (const char* message : {"STARTING korvex", "STOPPING korvex", ""})
        pattern += "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\|korvex\\|warning\\|" + std::string(message) + "\n";
    const std::string text = contents_of(kFile);
    EXPECT_TRUE(std::regex_match(text, std::regex(pattern))) << text;
}

TEST_F(LoggerTest, WritesItsLastLinesOnce) {
    {
        Logger log("a", kFile);
        log.close();
        log.close();
    }
    Logger reader("b", kFile);
    EXPECT_THAT(written(reader), ElementsAre("warning|STARTING a", "warning|STOPPING a", "warning|"));
}

TEST_F(LoggerTest, DropsWhatComesAfterTheEnd) {
    Logger log("a", kFile);
    log.close();
    const std::string before = contents_of(kFile);
    log.info("late");
    log.error("later");
    log.flush();
    EXPECT_THAT(log._logEntries, IsEmpty());
    EXPECT_EQ(contents_of(kFile), before);
}

TEST_F(LoggerTest, EachLevelHasItsWord) {
    static_assert(sizeof(LogLevel) == 4 && Info == 0 && Warning == 1 && Error == 2);
    Logger log("a", kFile);
    log.info("i");
    log.warning("w");
    log.error("e");
    log.addLogEntry(LogLevel::Error, "again");
    EXPECT_THAT(waiting(log), ElementsAre("warning|STARTING a", "info|i", "warning|w", "error|e", "error|again"));
}

TEST_F(LoggerTest, An101stWaitingEntryWritesThemAll) {
    Logger log("a", kFile);
    while (log._logEntries.size() < 100)
        log.info("line");
    EXPECT_FALSE(std::filesystem::exists(kFile));
    log.info("one more");
    EXPECT_THAT(log._logEntries, IsEmpty());
    const auto lines = written(log);
    ASSERT_EQ(lines.size(), 101U);
    EXPECT_EQ(lines.front(), "warning|STARTING a");
    EXPECT_EQ(lines.back(), "info|one more");
}

TEST_F(LoggerTest, AppendsToWhatIsThere) {
    write_file("d|a|info|old\n");
    Logger log("a", kFile);
    log.flush();
    EXPECT_THAT(written(log), ElementsAre("info|old", "warning|STARTING a"));
}

TEST_F(LoggerTest, AFileThatCannotBeOpenedLosesTheEntriesSilently) {
    std::filesystem::create_directory(kFile);
    Logger log("a", kFile);
    log.info("lost");
    log.flush();
    EXPECT_THAT(log._logEntries, IsEmpty());
    EXPECT_THAT(log.getLogLines(), IsEmpty());
    EXPECT_EQ(log.getPlainLogContents(), "");
}

TEST_F(LoggerTest, AFileThatIsMissingHasNoLinesAndNoSize) {
    Logger log("a", kFile);
    EXPECT_THAT(log.getLogLines(), IsEmpty());
    EXPECT_THAT(log.getLogEntriesFromFile(), IsEmpty());
    EXPECT_EQ(log.getLogFileSize(), -1);
    write_file("12345\n");
    EXPECT_EQ(log.getLogFileSize(), 6);
}

TEST_F(LoggerTest, LinesComeWithoutTheirNewlinesInFileOrder) {
    write_file("one\n\nthree\nunfinished");
    Logger log("a", kFile);
    EXPECT_THAT(log.getLogLines(), ElementsAre("one", "", "three", "unfinished"));
    EXPECT_EQ(log._logEntries.size(), 1U) << "reading lines does not flush";
}

TEST_F(LoggerTest, BothFormsOfTheContentsFlushFirst) {
    Logger log("a", kFile);
    log.clear();
    log.info("a|b");
    const std::string date = log._logEntries.front()._dateTime;
    EXPECT_EQ(log.getSerializedLogContents(), date + "|a|info|b\n");
    log.error("c");
    const std::string later = log._logEntries.front()._dateTime;
    EXPECT_EQ(log.getPlainLogContents(), date + " a info b\n" + later + " a error c\n");
    EXPECT_EQ(contents_of(kFile), date + "|a|info|a|b\n" + later + "|a|error|c\n");
}

TEST_F(LoggerTest, AMessageOfSeveralLinesComesBackAsSeveralEntries) {
    Logger log("a", kFile);
    log.clear();
    log.info("first\nsecond");
    log.flush();
    EXPECT_THAT(written(log), ElementsAre("info|first", "|second"));
}

TEST_F(LoggerTest, ClearDropsWaitingEntriesAndEmptiesTheFile) {
    Logger log("a", kFile);
    log.flush();
    log.info("never written");
    log.clear();
    EXPECT_THAT(log._logEntries, IsEmpty());
    EXPECT_EQ(std::filesystem::file_size(kFile), 0U);
    log.flush();
    EXPECT_EQ(std::filesystem::file_size(kFile), 0U);
}

TEST_F(LoggerTest, MakesItsFolder) {
    Logger log("a", "./localdata/here.txt");
    log.flush();
    EXPECT_THAT(written(log), ElementsAre("warning|STARTING a"));
}

TEST_F(LoggerTest, MakesNoFolderForAnAbsolutePath) {
    Logger log("a", folder / "localdata" / "here.txt");
    log.flush();
    EXPECT_FALSE(std::filesystem::exists(folder / "localdata"));
}

TEST_F(LoggerTest, TimesAreLocalAndFixedInForm) {
    setenv("TZ", "UTC-3", 1);
    Logger log("a", kFile);
    EXPECT_EQ(log.timeToString(0), "1970-01-01 03:00:00");
    setenv("TZ", "UTC", 1);
    EXPECT_EQ(log.timeToString(1700000000), "2023-11-14 22:13:20") << "a changed zone counts at once";
    const time_t before = time(nullptr);
    const std::string now = log.getCurrentDateTime();
    EXPECT_LE(log.timeToString(before), now);
    EXPECT_LE(now, log.timeToString(time(nullptr)));
    unsetenv("TZ");
}

TEST_F(LoggerTest, TheNextPurgeDateMovesByWholeDays) {
    Logger log("a", kFile);
    log._nextPurgeCheckDate = 1000;
    log.incrementNextPurgeDate();
    EXPECT_EQ(log._nextPurgeCheckDate, 87400);
    log._purgeCheckInterval = 3;
    log.incrementNextPurgeDate();
    EXPECT_EQ(log._nextPurgeCheckDate, 87400 + 259200);
}

TEST_F(LoggerTest, TheProductOfDaysAndSecondsIsA32BitValue) {
    Logger log("a", kFile);
    log._nextPurgeCheckDate = 0;
    log._purgeCheckInterval = 24856; // 24856 x 86400 is 2^31 + 74752
    log.incrementNextPurgeDate();
    EXPECT_EQ(log._nextPurgeCheckDate, -2147483648LL + 74752);
}

TEST_F(LoggerTest, PurgesAtTheFirstFlushAfterTheDueDateAndMovesIt) {
    Logger log("a", kFile);
    log._maxSize = 10;
    log._minSize = 5;
    write_file("0123456789\nnew\nnewest\n");
    log.clear();
    write_file("0123456789\nnew\nnewest\n");

    const time_t due = time(nullptr) - 1;
    log._nextPurgeCheckDate = due;
    log.flush();
    EXPECT_EQ(contents_of(kFile), "new\nnewest\n");
    EXPECT_EQ(log._nextPurgeCheckDate, due + 86400);
    EXPECT_THAT(waiting(log), ElementsAre("info|Purging log file. Initial log file size=22 bytes.",
                                          "info|Purging log file. Final log file size=11 bytes."));
    log.flush();
    EXPECT_THAT(written(log), ElementsAre("|new", "|newest", "info|Purging log file. Initial log file size=22 bytes.",
                                          "info|Purging log file. Final log file size=11 bytes."));
}

TEST_F(LoggerTest, DoesNotPurgeBeforeTheDueDate) {
    Logger log("a", kFile);
    log._maxSize = 0;
    write_file("old\nnew\n");
    log._nextPurgeCheckDate = time(nullptr) + 1000;
    log.flush();
    EXPECT_THAT(written(log), ElementsAre("|old", "|new", "warning|STARTING a"));
}

TEST_F(LoggerTest, DoesNotPurgeInTheVerySecondThatIsDue) {
    Logger log("a", kFile);
    time_t due = 0;
    do { // until the clock stands still meanwhile
        due = log._nextPurgeCheckDate = time(nullptr);
        log.flush();
    } while (time(nullptr) != due);
    EXPECT_EQ(log._nextPurgeCheckDate, due);
}

TEST_F(LoggerTest, AFreshLoggerDoesNotPurge) {
    write_file(std::string(0x200000 + 10, 'x') + "\nlast\n");
    Logger log("a", kFile);
    log.flush();
    EXPECT_EQ(log.getLogLines().size(), 3U);
}

TEST_F(LoggerTest, ADueCheckOfASmallFileOnlyMovesTheDate) {
    Logger log("a", kFile);
    const time_t due = time(nullptr) - 1;
    log._nextPurgeCheckDate = due;
    log.flush();
    EXPECT_THAT(waiting(log), IsEmpty());
    EXPECT_EQ(log._nextPurgeCheckDate, due + 86400);
}

TEST_F(LoggerTest, TwoMebibytesArePurgedAndAByteLessIsNot) {
    Logger log("a", kFile);
    log.clear();
    std::string text;
    while (text.size() < 2097152)
        text += std::string(1023, 'x') + "\n";
    ASSERT_EQ(text.size(), 2097152U);

    write_file(text.substr(0, text.size() - 1));
    log.purge();
    EXPECT_EQ(log.getLogFileSize(), 2097151);
    EXPECT_THAT(waiting(log), IsEmpty());

    write_file(text);
    log.purge();
    // 1026 lines of 1023 characters are the first to exceed 1048576.
    EXPECT_EQ(log.getLogFileSize(), 1026 * 1024);
    EXPECT_THAT(waiting(log), ElementsAre("info|Purging log file. Initial log file size=2097152 bytes.",
                                          "info|Purging log file. Final log file size=1050624 bytes."));
}

TEST_F(LoggerTest, KeepsOnlyTheLastLineWhenTheTextNeverExceedsTheMinimum) {
    Logger log("a", kFile);
    write_file(std::string(2097152, '\n') + "last\n");
    log.purge();
    EXPECT_EQ(contents_of(kFile), "last\n");
}

TEST_F(LoggerTest, ASingleHugeLineStays) {
    Logger log("a", kFile);
    const std::string line = std::string(2097152, 'x') + "\n";
    write_file(line);
    log.purge();
    EXPECT_EQ(contents_of(kFile), line);
}

TEST_F(LoggerTest, PurgesAnEmptyFileToAnEmptyFile) {
    Logger log("a", kFile);
    log._maxSize = 0;
    write_file("");
    log.clear();
    log.purge();
    EXPECT_EQ(contents_of(kFile), "");
    EXPECT_THAT(waiting(log), ElementsAre("info|Purging log file. Initial log file size=0 bytes.",
                                          "info|Purging log file. Final log file size=0 bytes."));
}

/** From the newest line backwards: the first line at which the characters exceed the minimum. */
std::string naive_purge(const std::vector<std::string>& lines, size_t minimum) {
    for (size_t kept = 2; kept <= lines.size(); ++kept) {
        const auto first = lines.end() - static_cast<std::ptrdiff_t>(kept);
        const size_t total = std::accumulate(first, lines.end(), size_t{0},
                                             [](size_t sum, const std::string& line) { return sum + line.size(); });
        if (total > minimum)
            return std::accumulate(first, lines.end(), std::string(),
                                   [](const std::string& text, const std::string& line) { return text + line + "\n"; });
    }
    return lines.back() + "\n";
}

TEST_F(LoggerTest, PurgesLikeTheNaiveModel) {
    const unsigned seed = 7;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Logger log("a", kFile);
    log._maxSize = 1;
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> lines(1 + random() % 12);
        std::string text;
        for (std::string& line : lines) {
            line.assign(random() % 9, static_cast<char>('a' + random() % 26));
            text += line + "\n";
        }
        log._minSize = static_cast<int32_t>(random() % 40);
        write_file(text);
        log.purge();
        ASSERT_EQ(contents_of(kFile), naive_purge(lines, static_cast<size_t>(log._minSize))) << text;
        log._logEntries.clear();
    }
}

TEST_F(LoggerTest, AFileBeyondTwoGibibytesIsCutAndItsSizeSaid) {
    constexpr int64_t large = (int64_t{1} << 31) + 5;
    std::ofstream(kFile).close();
    std::filesystem::resize_file(kFile, large); // one line of zeroes, none of which is on the disk
    std::string newest = "\n";
    while (newest.size() < 1500000)
        newest += std::string(1023, 'x') + "\n";
    std::ofstream(kFile, std::ios::app) << newest;
    Logger log("a", kFile);
    log._logEntries.clear();
    make_purge_due(log);
    log.flush();
    EXPECT_EQ(log.getLogFileSize(), 1026 * 1024);
    EXPECT_THAT(waiting(log), ElementsAre("info|Purging log file. Initial log file size=" +
                                              std::to_string(large + static_cast<int64_t>(newest.size())) + " bytes.",
                                          "info|Purging log file. Final log file size=1050624 bytes."));
}

TEST_F(LoggerTest, ALoggerThatHasWrittenEightMebibytesLooksAtOnce) {
    write_file(std::string(3000000, 'x') + "\nlast\n");
    Logger log("a", kFile);
    const std::string message(100000, 'm');
    int64_t written = 0;
    while (std::filesystem::file_size(kFile) > 2000000) {
        written += 100000;
        log.info(message);
        log.flush();
        ASSERT_LE(written, 8500000) << "no purge";
    }
    EXPECT_GT(written, 8300000) << "a fresh logger does not purge what others have written";
    EXPECT_GT(log._nextPurgeCheckDate, time(nullptr) + 80000) << "the next check is due in a day";
    const auto after_purge = std::filesystem::file_size(kFile);
    EXPECT_GT(after_purge, 1048576U);
    EXPECT_LT(after_purge, 1048576U + 2 * 100100);
    EXPECT_THAT(waiting(log).at(0), testing::StartsWith("info|Purging log file. Initial log file size=11"));
}

TEST_F(LoggerTest, AnEmptiedFileNeedsNoEarlyLook) {
    Logger log("a", kFile);
    const std::string message(1000000, 'm');
    for (int i = 0; i < 20; ++i) {
        log.info(message);
        log.flush();
        if (i % 5 == 4)
            log.clear();
    }
    EXPECT_EQ(std::filesystem::file_size(kFile), 0U);
    EXPECT_THAT(waiting(log), IsEmpty());
}

/**
 * A set-up that has failed: three lines on each of a day's 432,000 passes, at the rate of its bytes in longer lines, a
 * tenth of them.
 */
TEST_F(LoggerTest, ADayOfThreeLinesAPassFillsNoFlash) {
    constexpr int passes = 432000 / 10;
    const std::string longer(9 * 110, '.'); // a line has 110 characters with its date
    const std::string lines[] = {
        "larod_prepare_data_and_do_ai: Failed img scale/convert in convertCropScaleU8yuvToRGB()" + longer,
        "larod_prepare_data_and_do_ai: Unable to run inference on model : no connection" + longer,
        "do_one_analysis: Error in g_LocationController.larod_prepare_data_and_do_ai" + longer};
    write_file(std::string(2097151, 'x')); // the most that is never cut
    Logger log("korvex_orvel", kFile);
    uint64_t written = 0;
    uintmax_t largest = 0;
    for (int pass = 0; pass < passes; ++pass) {
        for (const std::string& line : lines) {
            log.error(line);
            written += line.size() + 41;
            if (log._logEntries.size() < 4) // just written, and at a purge its own lines wait
                largest = std::max(largest, std::filesystem::file_size(kFile));
        }
    }
    EXPECT_GT(written, 130U << 20);
    EXPECT_LE(largest, (8U << 20) + (2U << 20) + 120000U) << "and a batch";

    make_purge_due(log);
    log.flush();
    EXPECT_LT(log.getLogFileSize(), 2097152);
    EXPECT_GT(log.getLogFileSize(), 1048576);
}

TEST_F(LoggerTest, WhatIsNoFileLosesTheEntriesSilently) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (const char* path : {"pipe", "/dev/zero", "/dev/full"}) {
        EXPECT_EXIT(
            {
                alarm(60); // whatever waits
                Logger log("a", path);
                for (int i = 0; i < 250; ++i)
                    log.info("lost");
                log.flush();
                log._maxSize = 0;
                log.purge();
                const bool nothing = log._logEntries.empty() && log.getPlainLogContents().empty() &&
                                     log.getSerializedLogContents().empty() && log.getLogLines().empty() &&
                                     log.getLogFileSize() == -1;
                log.clear();
                log.close();
                _exit(nothing ? 0 : 1);
            },
            testing::ExitedWithCode(0), "")
            << path;
    }
}

/** A line of /proc/self/status, in bytes. */
size_t memory_of_this_process(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stoul(line.substr(name.size() + 1)) * 1024;
    return 0;
}

TEST_F(LoggerTest, GivingTheFileTakesTheAnswersMemoryAndNoMore) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer takes some times the memory that it watches";
#endif
    constexpr size_t size = 64U << 20;
    {
        std::ofstream file(kFile);
        const std::string line = "2024-05-06 07:08:09|korvex_orvel|error|" + std::string(60, 'x') + "\n";
        for (size_t written = 0; written < size; written += line.size())
            file << line;
    }
    Logger log("a", kFile);
    for (const auto give : {&Logger::getPlainLogContents, &Logger::getSerializedLogContents}) {
        std::ofstream("/proc/self/clear_refs") << 5; // the peak begins anew
        const size_t before = memory_of_this_process("VmRSS");
        EXPECT_GT((log.*give)().size(), size);
        EXPECT_LT(memory_of_this_process("VmHWM"), before + size + size / 4);
    }
}

TEST_F(LoggerTest, WhoLogsDoesNotWaitForWhoReadsAndThePurgeDoes) {
    std::string text;
    while (text.size() < 3000000)
        text += "d|a|info|" + std::string(1000, 'x') + "\n";
    write_file(text);
    Logger log("a", kFile);
    log.flush();
    const std::string before = contents_of(kFile);
    std::optional<std::thread> writer;
    at_first_read = [&] {
        writer.emplace([&log] {
            log.info("meanwhile");
            log._nextPurgeCheckDate = time(nullptr) - 1;
            log.flush();
        });
        writer->join(); // for ever, if it had to wait
    };
    EXPECT_EQ(log.getSerializedLogContents(), before);
    EXPECT_TRUE(writer.has_value());
    EXPECT_THAT(log.getLogLines(), testing::Contains(testing::EndsWith("meanwhile")));
    EXPECT_GT(log.getLogFileSize(), 3000000) << "the purge is put off";
    log.flush();
    EXPECT_LT(log.getLogFileSize(), 1100000);
}

TEST_F(LoggerTest, SignalsWaitWhileTheLogIsHeld) {
    static volatile std::sig_atomic_t was_interrupted = 0;
    const auto before = std::signal(SIGUSR1, [](int) { was_interrupted = 1; });
    Logger log("a", kFile);
    log.flush();
    log._maxSize = 1;
    at_first_read = [] {
        raise(SIGUSR1);
        EXPECT_EQ(was_interrupted, 0);
    };
    log.purge();
    EXPECT_FALSE(at_first_read);
    EXPECT_EQ(was_interrupted, 1);
    std::signal(SIGUSR1, before);
}

TEST_F(LoggerTest, ClosesInTimeOrNotAtAll) {
    using namespace std::chrono_literals;
    Logger log("a", kFile);
    log.flush();
    std::promise<void> reached;
    std::promise<void> go_on;
    at_first_read = [&] {
        reached.set_value();
        go_on.get_future().wait();
    };
    log._maxSize = 1;
    std::thread keeper([&log] { log.purge(); }); // keeps the lock
    reached.get_future().wait();
    EXPECT_FALSE(log.close_within(1ms));
    go_on.set_value();
    keeper.join();
    EXPECT_TRUE(log.close_within(60s));
    EXPECT_TRUE(log.close_within(0ms)) << "once more does no harm";
    Logger reader("b", kFile);
    EXPECT_EQ(written(reader).back(), "warning|");
    EXPECT_THAT(written(reader), testing::Contains("warning|STOPPING a").Times(1));
}

TEST_F(LoggerTest, ThreadsThatWriteFlushAndReadLoseNoLine) {
    constexpr int kLines = 500;
    Logger log("a", kFile);
    log.clear();
    std::atomic<int> writing{2};
    const auto write = [&](const std::string& name) {
        for (int i = 0; i < kLines; ++i) {
            log.info(name + std::to_string(i));
            if (i % 97 == 0)
                log.flush();
        }
        --writing;
    };
    std::thread first(write, "first ");
    std::thread second(write, "second ");
    std::thread reader([&] {
        while (writing > 0) {
            std::string all = log.getSerializedLogContents();
            ASSERT_TRUE(all.empty() || all.back() == '\n');
            log.getPlainLogContents();
        }
    });
    first.join();
    second.join();
    reader.join();
    log.flush();

    std::map<std::string, int> next; // each thread's lines are there, once, in their order
    for (const LogEntry& entry : log.getLogEntriesFromFile()) {
        const size_t blank = entry._message.find(' ');
        const std::string name = entry._message.substr(0, blank);
        ASSERT_EQ(entry._message.substr(blank + 1), std::to_string(next[name]++)) << name;
    }
    EXPECT_EQ(next, (std::map<std::string, int>{{"first", kLines}, {"second", kLines}}));
}

TEST_F(LoggerTest, ClearingWhileOthersWriteLeavesWholeLines) {
    Logger log("a", kFile);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 1000; ++i)
            log.warning("a line of text");
        done = true;
    });
    while (!done)
        log.clear();
    writer.join();
    log.flush();
    for (const LogEntry& entry : log.getLogEntriesFromFile())
        ASSERT_EQ(entry._logLevel + entry._message, "warninga line of text");
}

TEST_F(LoggerTest, TheProcessWideLogCarriesTheApplicationsName) {
    EXPECT_EQ(g_Logger._appName, "korvex_orvel");
    EXPECT_EQ(g_Logger._logfilePath, "./localdata/OrvelLog.txt");
}

} // namespace
