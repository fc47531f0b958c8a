#include "platform/larod/failure.h"
#include "platform/larod/listening_socket.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace korvex::larod::test {
namespace {

using testing::HasSubstr;

class Listening : public testing::Test {
  protected:
    Listening() { m_folder = mkdtemp(m_name.data()); }
    ~Listening() override { std::filesystem::remove_all(m_folder); }

    static std::string refusal(const std::string& path) {
        try {
            const auto socket = listen_at(path);
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
        return "";
    }

    std::string m_name = testing::TempDir() + "listening.XXXXXX";
    std::string m_folder;
};

TEST_F(Listening, MakesItsFolderForItsUserAloneAndLeavesNoSocket) {
    const std::string path = m_folder + "/new/socket";
    {
        const auto socket = listen_at(path);
        EXPECT_TRUE(connect_to(path));
        EXPECT_EQ(std::filesystem::status(m_folder + "/new").permissions(), std::filesystem::perms::owner_all);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THAT([&] { connect_to(path); }, fails_with(HasSubstr(path)));
}

TEST_F(Listening, ReplacesTheSocketOfOneThatDiedAndNothingElse) {
    const std::string path = m_folder + "/socket";
    {
        const platform::Descriptor dead(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, path.size());
        ASSERT_EQ(bind(dead.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(refusal(path), "");
    const auto serving = listen_at(path);
    EXPECT_THAT(refusal(path), HasSubstr("another service listens there"));
    const std::string file = m_folder + "/file";
    std::ofstream(file) << "precious";
    EXPECT_THAT(refusal(file), HasSubstr("something else has this name"));
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(Listening, RefusesAFolderThatOthersMayEnter) {
    std::filesystem::permissions(m_folder, std::filesystem::perms::others_exec, std::filesystem::perm_options::add);
    EXPECT_THAT(refusal(m_folder + "/socket"), HasSubstr("is open to others"));
    EXPECT_THAT(refusal(m_folder + "/a/b/socket"), HasSubstr("cannot be made"));
    EXPECT_THAT(refusal(m_folder + "/" + std::string(200, 'x')), HasSubstr("longer than 107 characters"));
}

} // namespace

} // namespace korvex::larod::test
