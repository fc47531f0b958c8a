#include "base/log_file.h"
#include "tests/doubles/core_fixture.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kFile = "log.txt";
constexpr size_t kBlock = 32768; // what is read at once

using texts = std::vector<std::string>;
using use = log_file::use;

class LogFileTest : public core_fixture {
  protected:
    static void write_file(const std::string& bytes) { std::ofstream(kFile, std::ios::binary) << bytes; }

    static texts lines_of(const log_file& file, int64_t end) {
        texts lines;
        file.for_each_line(end, [&lines](const std::string& line) { lines.push_back(line); });
        return lines;
    }
    static texts lines_of(const log_file& file) { return lines_of(file, file.size()); }
};

TEST_F(LogFileTest, OnlyAppendingMakesAFile) {
    EXPECT_EQ(log_file(kFile, use::reading).size(), -1);
    EXPECT_EQ(log_file(kFile, use::cutting).size(), -1);
    EXPECT_FALSE(std::filesystem::exists(kFile));
    EXPECT_EQ(log_file(kFile, use::appending).size(), 0);
    EXPECT_TRUE(std::filesystem::exists(kFile));
}

TEST_F(LogFileTest, LinesComeWithoutTheirNewlines) {
    const std::string with_zero("z\0z", 3);
    write_file("one\n\n" + with_zero + "\nunfinished");
    EXPECT_THAT(lines_of(log_file(kFile, use::reading)), ElementsAre("one", "", with_zero, "unfinished"));
    write_file("\n");
    EXPECT_THAT(lines_of(log_file(kFile, use::reading)), ElementsAre(""));
    write_file("");
    EXPECT_THAT(lines_of(log_file(kFile, use::reading)), IsEmpty());
}

TEST_F(LogFileTest, WhatComesAfterTheEndThatWasSeenIsNotRead) {
    write_file("one\ntwo\n");
    const log_file file(kFile, use::reading);
    const int64_t seen = file.size();
    log_file(kFile, use::appending).append("three\n");
    EXPECT_THAT(lines_of(file, seen), ElementsAre("one", "two"));
    EXPECT_THAT(lines_of(file), ElementsAre("one", "two", "three"));
}

TEST_F(LogFileTest, AFileThatIsEmptiedMeanwhileEndsEarly) {
    write_file("one\ntwo\n");
    const log_file file(kFile, use::reading);
    const int64_t seen = file.size();
    log_file(kFile, use::appending).clear();
    EXPECT_THAT(lines_of(file, seen), IsEmpty());
}

TEST_F(LogFileTest, LinesOfEveryLengthCrossTheBlocks) {
    texts lines;
    std::string text;
    for (const size_t length : {kBlock - 1, kBlock, kBlock + 1, size_t{0}, 3 * kBlock, size_t{5}}) {
        lines.emplace_back(length, 'x');
        text += lines.back() + "\n";
    }
    write_file(text);
    EXPECT_EQ(lines_of(log_file(kFile, use::reading)), lines);
}

TEST_F(LogFileTest, AFullDiskTakesWholeLines) {
    const struct {
        size_t room;
        std::string kept;
    } table[] = {{2, "0\n"},
                 {3, "0\n"},
                 {5, "0\n"},
                 {6, "0\n123\n"},
                 {7, "0\n123\n"},
                 {9, "0\n123\n"},
                 {10, "0\n123\n456\n"},
                 {11, "0\n123\n456\n"}};
    std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& [room, kept] : table) {
        write_file("0\n");
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limited{room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const int64_t written = log_file(kFile, use::appending).append("123\n456\n");
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(contents_of(kFile), kept) << room;
        EXPECT_EQ(written, static_cast<int64_t>(kept.size()) - 2) << room;
    }
    std::signal(SIGXFSZ, SIG_DFL);
}

/** Line by line from the newest, as the rule says. */
std::string naive_cut(const texts& lines, uint64_t minimum) {
    if (lines.empty())
        return "";
    size_t start = lines.size() - 1;
    uint64_t total = lines.back().size();
    for (size_t i = lines.size() - 1; i-- > 0;) {
        total += lines[i].size();
        if (total > minimum) {
            start = i;
            break;
        }
    }
    std::string kept;
    for (size_t i = start; i < lines.size(); ++i)
        kept += lines[i] + "\n";
    return kept;
}

TEST_F(LogFileTest, IsCutLikeTheNaiveModel) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 400; ++round) {
        const size_t longest = round % 10 == 0 ? 2 * kBlock : 9;
        texts lines(random() % 12);
        std::string text;
        for (std::string& line : lines) {
            line.assign(random() % longest, static_cast<char>('a' + random() % 26));
            text += line + "\n";
        }
        if (!lines.empty() && !lines.back().empty() && random() % 2 == 0)
            text.pop_back(); // a last line without its newline is a line
        const uint64_t minimum = random() % (5 * longest);
        write_file(text);
        {
            log_file file(kFile, use::cutting);
            file.keep_from(file.start_of_newest(minimum));
        }
        ASSERT_EQ(contents_of(kFile), naive_cut(lines, minimum)) << text.substr(0, 200) << "\nkeeping " << minimum;
    }
}

TEST_F(LogFileTest, IsCutWhereItStandsOnTheDisk) {
    write_file("old\nnew\n");
    struct stat before {};
    ASSERT_EQ(stat(kFile, &before), 0);
    log_file(kFile, use::cutting).keep_from(4);
    struct stat after {};
    ASSERT_EQ(stat(kFile, &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(contents_of(kFile), "new\n");
}

/** In a child, which a wait without end would not outlive: true when all that is done to the path does nothing. */
void expect_no_file(const std::string& path) {
    EXPECT_EXIT(
        {
            alarm(60);
            log_file reading(path, use::reading);
            log_file appending(path, use::appending);
            log_file cutting(path, use::cutting);
            bool nothing = true;
            for (log_file* file : {&reading, &appending, &cutting}) {
                nothing = nothing && file->size() == -1 && file->append("line\n") == 0;
                file->for_each_line(1000, [&nothing](const std::string&) { nothing = false; });
                nothing = nothing && file->start_of_newest(1) == 0;
                file->keep_from(0);
                file->clear();
            }
            _exit(nothing ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << path;
}

TEST_F(LogFileTest, WhatIsNoRegularFileIsNotOpened) {
    std::filesystem::create_directory("folder");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::filesystem::create_symlink("pipe", "link");
    const int listening = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "socket");
    ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const char* path :
         {"folder", "pipe", "link", "socket", "/dev/zero", "/dev/full", "/dev/null", "/dev/tty", "nowhere/log.txt", ""})
        expect_no_file(path);
    close(listening);
}

TEST_F(LogFileTest, APipeWithSomebodyAtItsOtherEndIsNotOpenedEither) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int other_end = open("pipe", O_RDWR | O_NONBLOCK);
    ASSERT_GE(other_end, 0);
    expect_no_file("pipe");
    char byte = 0;
    EXPECT_LT(read(other_end, &byte, 1), 0) << "nothing has been written to it";
    close(other_end);
}

TEST_F(LogFileTest, ALinkToAFileIsThatFile) {
    write_file("one\n");
    std::filesystem::create_symlink(kFile, "link");
    log_file("link", use::appending).append("two\n");
    EXPECT_EQ(contents_of(kFile), "one\ntwo\n");
}

} // namespace
