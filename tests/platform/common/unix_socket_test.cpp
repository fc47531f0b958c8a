#include "platform/common/unix_socket.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

using platform::UnixSocket;

class UnixSocketTest : public testing::Test {
  protected:
    ~UnixSocketTest() override { std::filesystem::current_path(before); }

    static std::string failure_at(const std::string& path) {
        try {
            const UnixSocket socket(path, SOCK_STREAM);
            return "";
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
    }

    /** From the socket's own folder, so that the path is short. */
    bool can_connect(const std::string& in_folder, const std::string& name) const {
        std::filesystem::current_path(in_folder);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool connected = connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(client);
        std::filesystem::current_path(before);
        return connected;
    }

    const std::filesystem::path before = std::filesystem::current_path();
    const TemporaryFolder own;
    const std::string folder = own.path();
    const std::string path = folder + "/streams.socket";
};

TEST_F(UnixSocketTest, ListensWhileItLivesAndLetsTheFolderDecideWhoComes) {
    {
        const UnixSocket socket(path, SOCK_STREAM);
        EXPECT_TRUE(can_connect(folder, "streams.socket"));
        struct stat file {};
        ASSERT_EQ(stat(path.c_str(), &file), 0);
        EXPECT_EQ(file.st_mode, static_cast<mode_t>(S_IFSOCK | 0666));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(UnixSocketTest, TheModeDoesNotDependOnTheUmask) {
    const mode_t umask_before = umask(077);
    const UnixSocket socket(path, SOCK_STREAM);
    umask(umask_before);
    EXPECT_EQ(std::filesystem::status(path).permissions(), static_cast<std::filesystem::perms>(0666));
}

TEST_F(UnixSocketTest, ReplacesWhatAKilledProcessHasLeft) {
    const pid_t child = fork();
    if (child == 0) {
        const UnixSocket socket(path, SOCK_STREAM);
        _exit(0); // without its destructor
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::is_socket(path));
    const UnixSocket socket(path, SOCK_STREAM);
    EXPECT_TRUE(can_connect(folder, "streams.socket"));
}

TEST_F(UnixSocketTest, LeavesOneAloneThatSomebodyServes) {
    const UnixSocket first(path, SOCK_STREAM);
    EXPECT_EQ(failure_at(path), "another program serves it");
    EXPECT_TRUE(can_connect(folder, "streams.socket"));
}

TEST_F(UnixSocketTest, LeavesOneAloneWhoseQueueIsFull) {
    const UnixSocket first(path, SOCK_STREAM);
    std::vector<int> waiting;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    int result = 0;
    while (result == 0) {
        waiting.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        result = connect(waiting.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(failure_at(path), "another program serves it");
    for (const int each : waiting)
        close(each);
}

TEST_F(UnixSocketTest, LeavesAloneWhatIsNoSocket) {
    std::ofstream(path) << "precious";
    std::filesystem::create_symlink(path, folder + "/link");
    for (const std::string& taken : {path, folder + "/link"})
        EXPECT_EQ(failure_at(taken), "there is something else in its place that is no socket");
    std::ifstream file(path);
    std::string content;
    file >> content;
    EXPECT_EQ(content, "precious");
}

TEST_F(UnixSocketTest, RemovesNoFileButItsOwn) {
    {
        const UnixSocket socket(path, SOCK_STREAM);
        std::filesystem::remove(path);
        std::ofstream(path) << "another";
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(UnixSocketTest, FindsItsFileAgainWhenTheFolderHasMoved) {
    std::filesystem::create_directory(folder + "/here");
    {
        const UnixSocket socket(folder + "/here/streams.socket", SOCK_STREAM);
        std::filesystem::rename(folder + "/here", folder + "/there");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder + "/there"));
}

TEST_F(UnixSocketTest, TakesAPathOfAnyLength) {
    const std::string deep = folder + "/" + std::string(200, 'd') + "/" + std::string(200, 'e');
    std::filesystem::create_directories(deep);
    {
        const UnixSocket socket(deep + "/streams.socket", SOCK_STREAM);
        EXPECT_TRUE(can_connect(deep, "streams.socket"));
        EXPECT_EQ(failure_at(deep + "/streams.socket"), "another program serves it");
    }
    EXPECT_TRUE(std::filesystem::is_empty(deep));
    EXPECT_EQ(failure_at(deep + "/" + std::string(100, 's')), "the name of the socket is too long");
}

TEST_F(UnixSocketTest, TakesAPathWithoutAFolder) {
    std::filesystem::current_path(folder);
    const UnixSocket socket("streams.socket", SOCK_STREAM);
    EXPECT_TRUE(can_connect(folder, "streams.socket"));
}

TEST_F(UnixSocketTest, SaysWhyItCannot) {
    EXPECT_EQ(failure_at(folder + "/none/streams.socket"), "No such file or directory");
    EXPECT_EQ(failure_at(folder + "/"), "it names no file");
    EXPECT_EQ(failure_at(folder + "/.."), "it names no file");
    std::ofstream(folder + "/file") << "";
    EXPECT_EQ(failure_at(folder + "/file/streams.socket"), "Not a directory");
}

} // namespace
