#include "host/web_folder.h"
#include "tests/host/runner_fixture.h"

#include <pwd.h>

namespace {

namespace fs = std::filesystem;
using console::PasswordFile;
using console::WebFolder;

class WebFolderTest : public RunnerTest {
  protected:
    WebFolderTest() {
        fs::create_directories(path("repository/html/js"));
        fs::create_directories(path("repository/web/lighttpd/errors"));
        fs::create_directory(path("html"));
        file("repository/html/index.html", "page");
        file("repository/html/js/main.js", "script");
        file("repository/web/lighttpd/errors/403.html", "refused");
    }

    const console::Places m_places = console::built_places("/build", path("repository"));
    const PasswordFile m_passwords{PasswordFile::Form::plain, "Korvex Orvel", {"anna:secret"}};
};

TEST_F(WebFolderTest, HasThePagesTheErrorsAndTheUsersUntilTheEnd) {
    {
        const WebFolder web(path("html"), m_places, m_passwords);
        EXPECT_EQ(console::contents_of(path("html/pages/js/main.js")), "script");
        EXPECT_EQ(console::contents_of(path("html/errors/403.html")), "refused");
        EXPECT_EQ(console::contents_of(path("html/web_users")), hashed_users(m_passwords));
        EXPECT_TRUE(fs::is_directory(path("html/uploads")));
    }
    EXPECT_TRUE(fs::is_empty(path("html")));
    EXPECT_TRUE(fs::exists(path("repository/html/index.html")));
}

TEST_F(WebFolderTest, MakesAnewWhatAKilledCommandLeft) {
    fs::create_directories(path("html/pages/old"));
    file("html/web_users", "old");
    const WebFolder web(path("html"), m_places, std::nullopt);
    EXPECT_FALSE(fs::exists(path("html/pages/old")));
    EXPECT_FALSE(fs::exists(path("html/web_users")));
}

TEST_F(WebFolderTest, OfRootIsGivenToTheServersUserAndToNobodyElse) {
    const WebFolder web(path("html"), m_places, m_passwords);
    if (web.user().empty())
        GTEST_SKIP() << "this user, or this system, lets nobody become www-data";
    const passwd* user = getpwnam("www-data");
    for (const char* name :
         {"pages", "pages/index.html", "pages/js/main.js", "errors/403.html", "uploads", "web_users"}) {
        struct stat status {};
        ASSERT_EQ(lstat(path(std::string("html/") + name).c_str(), &status), 0) << name;
        EXPECT_EQ(status.st_uid, user->pw_uid) << name;
        EXPECT_EQ(status.st_mode & 0777U, S_ISDIR(status.st_mode) ? 0700U : 0600U) << name;
    }
    struct stat status {};
    ASSERT_EQ(lstat(path("html").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U) << "the sockets in it are made by this user";
    EXPECT_EQ(status.st_gid, user->pw_gid);
    EXPECT_EQ(status.st_mode & 0777U, 0750U);
}

TEST_F(WebFolderTest, ThatCannotBeMadeLeavesNothing) {
    if (WebFolder(path("html"), m_places, m_passwords).user().empty())
        GTEST_SKIP() << "links to what is not there can be made";
    EXPECT_ANY_THROW(WebFolder(path("html"), console::built_places("/build", path("none")), m_passwords));
    EXPECT_TRUE(fs::is_empty(path("html")));
}

} // namespace
