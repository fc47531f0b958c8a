#include "platform/larod/descriptor_io.h"
#include "platform/larod/failure.h"
#include "tests/platform/larod/test_models.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace korvex::larod::test {
namespace {

class File {
  public:
    explicit File(const std::string& content) : m_fd(memfd_create("test", MFD_CLOEXEC)) {
        EXPECT_EQ(write(m_fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        EXPECT_EQ(lseek(m_fd, 0, SEEK_SET), 0);
    }
    ~File() { close(m_fd); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    int fd() const { return m_fd; }
    off_t position() const { return lseek(m_fd, 0, SEEK_CUR); }
    off_t size() const {
        struct stat status {};
        EXPECT_EQ(fstat(m_fd, &status), 0);
        return status.st_size;
    }

  private:
    int m_fd;
};

std::string text(std::span<const std::byte> bytes) {
    std::string result;
    for (const std::byte byte : bytes)
        result += static_cast<char>(byte);
    return result;
}

TEST(DescriptorIo, ReadsAWholeFileWhateverItsPositionAndLeavesThat) {
    const File file("whole");
    lseek(file.fd(), 3, SEEK_SET);
    EXPECT_EQ(text(read_whole(file.fd())), "whole");
    EXPECT_EQ(file.position(), 3);
}

TEST(DescriptorIo, ReadsAPipeToItsEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(write(ends[1], "piped", 5), 5);
    close(ends[1]);
    EXPECT_EQ(text(read_whole(ends[0])), "piped");
    close(ends[0]);
}

TEST(DescriptorIo, SaysWhyADescriptorCannotBeRead) {
    std::vector<std::byte> bytes(1);
    EXPECT_THAT([] { read_whole(-1); }, fails_with("Cannot read the file: Bad file descriptor."));
    EXPECT_THAT([&] { read_in_place(-1, bytes); }, fails_with("Cannot read the input: Bad file descriptor."));
    const int folder = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_THAT([&] { read_whole(folder); }, fails_with("Cannot read the file: Is a directory."));
    close(folder);
}

TEST(DescriptorIo, ReadsFromTheCurrentPositionAndDoesNotMoveIt) {
    const File file("0123456789");
    lseek(file.fd(), 2, SEEK_SET);
    for (int pass = 0; pass < 3; ++pass) {
        std::array<std::byte, 4> bytes{};
        read_in_place(file.fd(), bytes);
        EXPECT_EQ(text(bytes), "2345");
        EXPECT_EQ(file.position(), 2);
    }
}

TEST(DescriptorIo, SaysHowMuchAShortInputHolds) {
    const File file("0123456789");
    lseek(file.fd(), 7, SEEK_SET);
    std::array<std::byte, 4> bytes{};
    EXPECT_THAT([&] { read_in_place(file.fd(), bytes); },
                fails_with("The input's file holds 3 of the 4 bytes that the model takes."));
}

TEST(DescriptorIo, WritesOnFromTheCurrentPositionAndLengthensTheFile) {
    const File file("0123");
    lseek(file.fd(), 2, SEEK_SET);
    const std::array<std::byte, 4> bytes{std::byte{'a'}, std::byte{'b'}, std::byte{'c'}, std::byte{'d'}};
    write_on(file.fd(), bytes);
    EXPECT_EQ(file.position(), 6);
    EXPECT_EQ(file.size(), 6);
    EXPECT_EQ(text(read_whole(file.fd())), "01abcd");
}

TEST(DescriptorIo, SaysWhyADescriptorCannotBeWritten) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    const std::array<std::byte, 4> bytes{};
    EXPECT_THAT([&] { write_on(full, bytes); }, fails_with("Cannot write the output: No space left on device."));
    close(full);
}

} // namespace

} // namespace korvex::larod::test
