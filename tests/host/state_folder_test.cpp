#include "host/state_folder.h"
#include "tests/host/runner_fixture.h"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using console::PassingFolder;
using console::StateFolder;
using testing::HasSubstr;

class StateFolderTest : public RunnerTest {
  protected:
    ~StateFolderTest() override { umask(mask_); }

    static fs::perms rights(const fs::path& path) { return fs::status(path).permissions(); }

    /** A folder that others can read. */
    std::string open_folder(const std::string& name) const {
        fs::create_directory(path(name));
        fs::permissions(path(name), fs::perms::all);
        return path(name);
    }

    std::string refusal(const std::string& where) const {
        return refusal_of([&] { StateFolder state(where); });
    }

  private:
    const mode_t mask_ = umask(022);
};

TEST_F(StateFolderTest, IsMadeForNobodyElse) {
    const StateFolder state(path("new/state"));
    EXPECT_EQ(state.path(), path("new/state"));
    for (const char* name : {"", "/html", "/package", "/localdata"})
        EXPECT_EQ(rights(state.path() + name), fs::perms::owner_all) << name;
    EXPECT_EQ(rights(file("later")) & (fs::perms::group_all | fs::perms::others_all), fs::perms::none);
}

TEST_F(StateFolderTest, IsKnownByItsPathWithoutLinks) {
    fs::create_directory_symlink(folder, path("link"));
    EXPECT_EQ(StateFolder(path("link/state")).path(), path("state"));
}

TEST_F(StateFolderTest, IsOneRunsAlone) {
    const StateFolder state(path("state"));
    EXPECT_EQ(refusal(path("state")),
              "another ./run uses " + path("state") + "; end it, or give this one a --state folder of its own.");
}

TEST_F(StateFolderTest, IsFreeAgainAfterwards) {
    { const StateFolder state(path("state")); }
    EXPECT_EQ(refusal(path("state")), "");
}

TEST_F(StateFolderTest, IsClosedWhenOthersCouldSeeIntoIt) {
    for (const char* inner : {"parameters.sqlite", ".lock"}) {
        const std::string state = open_folder(std::string("with_") + inner);
        file("with_" + std::string(inner) + "/" + inner);
        EXPECT_EQ(refusal(state), "");
        EXPECT_EQ(rights(state), fs::perms::owner_all) << inner;
    }
    const std::string empty = open_folder("empty");
    EXPECT_EQ(refusal(empty), "");
    EXPECT_EQ(rights(empty), fs::perms::owner_all);
}

TEST_F(StateFolderTest, IsNoFolderWithOtherThingsThatOthersMayRead) {
    const std::string others = open_folder("others");
    file("others/thing");
    EXPECT_EQ(refusal(others),
              "the folder " + others + " holds other things, which others may read; give --state a folder of its own.");
    EXPECT_EQ(rights(others), fs::perms::all) << "it stays as it is";
    EXPECT_FALSE(fs::exists(others + "/html"));
}

TEST_F(StateFolderTest, IsNobodysHomeAndNotForEverybody) {
    const std::string more = " is for more than a state, or for more than one user; give --state a folder of its own.";
    const char* before = std::getenv("HOME");
    const std::string home = before != nullptr ? before : "/";
    setenv("HOME", path("home").c_str(), 1);
    fs::create_directory(path("home"));
    EXPECT_EQ(refusal(path("home")), "the folder " + path("home") + more);
    setenv("HOME", home.c_str(), 1);
    const std::string sticky = open_folder("sticky");
    fs::permissions(sticky, fs::perms::sticky_bit, fs::perm_options::add);
    EXPECT_EQ(refusal(sticky), "the folder " + sticky + more);
}

TEST_F(StateFolderTest, OfAnotherUserIsRefused) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder away";
    fs::create_directory(path("foreign"));
    ASSERT_EQ(chown(path("foreign").c_str(), 65534, 65534), 0);
    EXPECT_EQ(refusal(path("foreign")),
              "the state folder " + path("foreign") + " belongs to another user; give --state a folder of your own.");
}

TEST_F(StateFolderTest, IntoWhichOthersHaveWrittenIsRefused) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    const std::string state = open_folder("state");
    fs::create_directories(state + "/localdata/deep");
    fs::create_directories(state + "/html");
    // What the web server was given is made anew.
    ASSERT_EQ(chown(file("state/html/page").c_str(), 65534, 65534), 0);
    EXPECT_EQ(refusal(state), "");
    fs::permissions(state, fs::perms::all);
    ASSERT_EQ(chown(file("state/localdata/deep/log").c_str(), 65534, 65534), 0);
    EXPECT_EQ(refusal(state),
              "others could write into the state folder " + state + " and have done so; give --state another one.");
}

TEST_F(StateFolderTest, ThatCannotBeMadeIsRefused) {
    file("file");
    EXPECT_EQ(refusal(path("file/state")),
              "the state folder \"" + path("file/state") + "\" cannot be made or is not writable.");
}

TEST_F(StateFolderTest, OfAReplayGoesWithIt) {
    std::string inner;
    {
        const PassingFolder passing(path("state"));
        inner = passing.path();
        EXPECT_THAT(inner, HasSubstr(path("state") + "/replay."));
        const StateFolder state(inner);
        EXPECT_TRUE(fs::exists(inner + "/.lock"));
    }
    EXPECT_TRUE(fs::is_empty(path("state")));
    EXPECT_EQ(rights(path("state")), fs::perms::owner_all);
}

} // namespace
