#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "vision/mmfile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class MemoryMappedFileTest : public core_fixture {
  protected:
    MemoryMappedFileTest() { failing_libc::reset(); }
    ~MemoryMappedFileTest() override { failing_libc::reset(); }

    std::string name_template() const { return folder / "tensor-XXXXXX"; }

    /** The text that the constructor throws; empty when it succeeds. */
    static std::string thrown(const std::string& name, int size) {
        try {
            const MemoryMappedFile file(name, size);
        } catch (const char* text) {
            return text;
        }
        return "";
    }

    static size_t open_descriptors() {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    }
};

TEST_F(MemoryMappedFileTest, IsNeitherCopiedNorMoved) {
    static_assert(!std::is_copy_constructible_v<MemoryMappedFile> && !std::is_move_constructible_v<MemoryMappedFile>);
    static_assert(!std::is_copy_assignable_v<MemoryMappedFile> && !std::is_move_assignable_v<MemoryMappedFile>);
}

TEST_F(MemoryMappedFileTest, HasANameThatIsGoneFromTheDisk) {
    const MemoryMappedFile file(name_template(), 100);
    EXPECT_THAT(file.m_filename, MatchesRegex(folder.string() + "/tensor-[A-Za-z0-9]{6}"));
    EXPECT_NE(file.m_filename, name_template());
    EXPECT_FALSE(std::filesystem::exists(file.m_filename));
    EXPECT_EQ(file.m_filesize, 100);
    EXPECT_EQ(file.getBuffer(), file.m_buffer);
    EXPECT_EQ(file.getFileDescriptor(), file.m_fileDescriptor);
    struct stat status {};
    ASSERT_EQ(fstat(file.getFileDescriptor(), &status), 0);
    EXPECT_EQ(status.st_size, 100);
    EXPECT_EQ(status.st_nlink, 0U);
    EXPECT_EQ(fcntl(file.getFileDescriptor(), F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(MemoryMappedFileTest, OneByteIsEnough) {
    const MemoryMappedFile file(name_template(), 1);
    *static_cast<char*>(file.getBuffer()) = 'x';
    char read = 0;
    EXPECT_EQ(pread(file.getFileDescriptor(), &read, 1, 0), 1);
    EXPECT_EQ(read, 'x');
}

TEST_F(MemoryMappedFileTest, MappingAndDescriptorShowTheSameBytes) {
    const MemoryMappedFile file(name_template(), 8);
    auto* bytes = static_cast<char*>(file.getBuffer());
    EXPECT_EQ(std::string(bytes, 8), std::string(8, '\0'));
    std::memcpy(bytes, "mapped..", 8);
    char read[8] = {};
    ASSERT_EQ(::read(file.getFileDescriptor(), read, 8), 8);
    EXPECT_EQ(std::string(read, 8), "mapped..");
    ASSERT_EQ(pwrite(file.getFileDescriptor(), "file", 4, 2), 4);
    EXPECT_EQ(std::string(bytes, 8), "mafile..");
}

TEST_F(MemoryMappedFileTest, RewindGoesToTheBeginning) {
    MemoryMappedFile file(name_template(), 8);
    ASSERT_EQ(lseek(file.getFileDescriptor(), 5, SEEK_SET), 5);
    EXPECT_TRUE(file.rewind());
    EXPECT_EQ(lseek(file.getFileDescriptor(), 0, SEEK_CUR), 0);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(MemoryMappedFileTest, ARewindThatFailsIsLogged) {
    MemoryMappedFile file(name_template(), 8);
    failing_libc::fail("lseek", ESPIPE);
    EXPECT_FALSE(file.rewind());
    EXPECT_THAT(log_lines(),
                ElementsAre("error|rewind: Failed to rewind mapped file " + file.m_filename + " : Illegal seek"));
}

TEST_F(MemoryMappedFileTest, TheEndClosesTheDescriptor) {
    const size_t before = open_descriptors();
    { const MemoryMappedFile file(name_template(), 8); }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(MemoryMappedFileTest, AnUnmappingThatFailsIsLoggedAndTheDescriptorClosedAllTheSame) {
    const size_t before = open_descriptors();
    std::string name;
    {
        const MemoryMappedFile file(name_template(), 8);
        name = file.m_filename;
        failing_libc::fail("munmap", EINVAL);
    }
    EXPECT_THAT(log_lines(),
                ElementsAre("error|~MemoryMappedFile: Failed to unmap mapped file " + name + " : Invalid argument"));
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(MemoryMappedFileTest, ATemplateWithoutPlaceForANameIsRefused) {
    const std::string name = folder / "tensor";
    EXPECT_EQ(thrown(name, 8), "Failed to create temporary file");
    EXPECT_THAT(log_lines(),
                ElementsAre("error|MemoryMappedFile: Failed to create temporary file " + name + " : Invalid argument"));
}

TEST_F(MemoryMappedFileTest, AFolderThatIsMissingIsRefused) {
    EXPECT_EQ(thrown(folder / "nowhere" / "x-XXXXXX", 8), "Failed to create temporary file");
    EXPECT_THAT(log_lines(), ElementsAre(MatchesRegex("error.MemoryMappedFile: Failed to create temporary file .* : "
                                                      "No such file or directory")));
}

TEST_F(MemoryMappedFileTest, EveryFailureIsLoggedThrownAndLeavesNothingOpen) {
    const struct {
        const char* function;
        int size;
        const char* message;
        const char* text;
    } table[] = {
        {"mkstemp", 8, "create temporary file (.*)", "Failed to create temporary file"},
        {"ftruncate", 8, "adjust temporary file (.*) to size 8", "Failed to adjust file size"},
        {"ftruncate", -1, "adjust temporary file (.*) to size -1", "Failed to adjust file size"},
        {"posix_fallocate", 8, "adjust temporary file (.*) to size 8", "Failed to adjust file size"},
        {"mmap", 8, "create map file (.*)", "Failed to create map file"},
    };
    for (const auto& [function, size, message, text] : table) {
        const size_t before = open_descriptors();
        failing_libc::fail(function, ENOSPC);
        forget_log();
        EXPECT_EQ(thrown(name_template(), size), text);
        EXPECT_THAT(log_lines(), ElementsAre(MatchesRegex(std::string("error.MemoryMappedFile: Failed to ") + message +
                                                          " : No space left on device")));
        EXPECT_EQ(open_descriptors(), before) << function;
        for (const auto& left : std::filesystem::directory_iterator(folder))
            EXPECT_EQ(left.path().filename(), "localdata") << function << ": only the log's folder is there";
    }
}

TEST_F(MemoryMappedFileTest, ImpossibleSizesAreRefused) {
    EXPECT_EQ(thrown(name_template(), -1), "Failed to adjust file size");
    EXPECT_EQ(thrown(name_template(), 0), "Failed to create map file");
}

TEST_F(MemoryMappedFileTest, AReservationThatIsInterruptedIsMadeAgain) {
    failing_libc::fail("posix_fallocate", EINTR);
    const MemoryMappedFile file(name_template(), 8);
    EXPECT_EQ(failing_libc::calls("posix_fallocate"), 2);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(MemoryMappedFileTest, AFileSystemThatCannotReserveIsGoodEnough) {
    for (const int error_number : {EOPNOTSUPP, EINVAL}) {
        failing_libc::fail("posix_fallocate", error_number);
        const MemoryMappedFile file(name_template(), 8);
        EXPECT_EQ(std::string(static_cast<char*>(file.getBuffer()), 8), std::string(8, '\0'));
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

/** A view of the file system that this process may change, whoever it belongs to. */
bool enter_own_view() {
    if (geteuid() == 0)
        return unshare(CLONE_NEWNS) == 0;
    const auto itself = [](unsigned int id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
    const std::string user = itself(geteuid());
    const std::string group = itself(getegid());
    if (unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user;
    std::ofstream("/proc/self/gid_map") << group;
    return true;
}

/** In a child with a disk of 64 KiB of its own: 0 when all holds, 77 where such a disk cannot be had. */
int try_on_a_small_disk(const std::string& disk) {
    if (!enter_own_view() || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("small", disk.c_str(), "tmpfs", 0, "size=64k") != 0)
        return 77;
    try {
        const MemoryMappedFile small(disk + "/x-XXXXXX", 20000);
        std::memset(small.getBuffer(), 1, 20000);
        const MemoryMappedFile large(disk + "/x-XXXXXX", 60000);
        std::memset(large.getBuffer(), 1, 60000); // no room: the kernel's signal
    } catch (const char* text) {
        return std::strcmp(text, "Failed to adjust file size") == 0 && std::filesystem::is_empty(disk) ? 0 : 2;
    }
    return 1;
}

TEST_F(MemoryMappedFileTest, AFullDiskIsRefusedBeforeItIsWrittenTo) {
    const std::string disk = folder / "disk";
    std::filesystem::create_directory(disk);
    const pid_t child = fork();
    if (child == 0)
        _exit(try_on_a_small_disk(disk));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    if (WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "no disk of its own can be had here";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(MemoryMappedFileTest, AnUnlinkThatFailsIsOnlyLogged) {
    failing_libc::fail("unlink", EPERM);
    const MemoryMappedFile file(name_template(), 8);
    EXPECT_NE(file.getBuffer(), nullptr);
    EXPECT_TRUE(std::filesystem::exists(file.m_filename));
    EXPECT_THAT(log_lines(), ElementsAre("error|MemoryMappedFile: Failed to unlink temporary file " + file.m_filename +
                                         " : Operation not permitted"));
}

} // namespace
