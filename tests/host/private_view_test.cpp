#include "host/private_view.h"
#include "host/signals.h"
#include "tests/host/runner_fixture.h"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using console::Place;
using console::RealLinks;
using console::view_arguments;
using testing::ElementsAre;

class PrivateView : public RunnerTest {
  protected:
    PrivateView() {
        fs::create_directories(path("base/present/inner"));
        fs::create_directory_symlink("inner", path("base/present/link"));
        fs::create_directory(path("shown"));
        file("base/present/inner/kept", "kept");
        file("shown/file", "shown");
    }

    /** Whether the shell's commands succeed behind the view. */
    bool succeeds(const std::vector<Place>& places, const std::string& commands) {
        console::Program program = shell(commands);
        std::vector<std::string> view = view_arguments(places);
        view.insert(view.begin(), "bwrap");
        program.command.insert(program.command.begin(), view.begin(), view.end());
        return run_to_end(program, m_signals) == 0;
    }

  private:
    console::Signals m_signals;
};

TEST_F(PrivateView, APlaceThatExistsIsCoveredAlone) {
    EXPECT_THAT(view_arguments({{path("base/present"), path("shown")}}),
                ElementsAre("--dev-bind", "/", "/", "--bind", path("shown"), path("base/present")));
}

TEST_F(PrivateView, TheNearestFolderIsMadeAnewOnceWithAllThatIsInIt) {
    const std::string present = path("base/present");
    const std::vector<std::string> arguments =
        view_arguments({{present + "/new/place", path("shown")}, {present + "/other", path("shown")}});
    const std::vector<std::string> inner = {"--dev-bind-try", present + "/inner", present + "/inner"};
    const std::vector<std::string> link = {"--symlink", "inner", present + "/link"};
    std::vector<std::string> expected = {"--dev-bind", "/", "/", "--tmpfs", present};
    const bool is_link_first = arguments[5] == "--symlink"; // the system's order
    for (const auto& words : {is_link_first ? link : inner, is_link_first ? inner : link})
        expected.insert(expected.end(), words.begin(), words.end());
    for (const char* place : {"/new/place", "/other"})
        expected.insert(expected.end(), {"--bind", path("shown"), present + place});
    EXPECT_EQ(arguments, expected);
}

TEST_F(PrivateView, AProgramFindsTheFolderAtAPlaceThatDoesNotExist) {
    if (!succeeds({}, "true"))
        GTEST_SKIP() << "bwrap can make no view here";
    const std::string place = path("base/present/new/deep/place");
    const std::vector<Place> places = {{place, path("shown")}};
    EXPECT_TRUE(succeeds(places, "test -f " + place + "/file"));
    EXPECT_TRUE(succeeds(places, "test -f " + path("base/present/link/kept"))) << "beside what was there";
    EXPECT_TRUE(succeeds(places, "touch " + place + "/written"));
    EXPECT_TRUE(fs::exists(path("shown/written")));
    EXPECT_FALSE(fs::exists(path("base/present/new"))) << "nothing is left";
}

TEST_F(PrivateView, WithoutAViewThePlaceIsRealUntilTheEnd) {
    {
        const RealLinks links(
            {{path("base/real/deep/place"), path("shown")}, {path("base/real/other"), path("shown")}});
        EXPECT_TRUE(fs::exists(path("base/real/deep/place/file")));
        EXPECT_TRUE(fs::exists(path("base/real/other/file")));
    }
    EXPECT_FALSE(fs::exists(path("base/real")));
}

TEST_F(PrivateView, AFolderThatWasThereStaysThoughItIsEmpty) {
    fs::create_directory(path("empty"));
    { const RealLinks links({{path("empty/deep/place"), path("shown")}}); }
    EXPECT_TRUE(fs::is_empty(path("empty")));
}

TEST_F(PrivateView, WhatAKilledCommandLeftIsTakenOver) {
    fs::create_directories(path("base/real/deep"));
    fs::create_directory_symlink(path("shown"), path("base/real/deep/place"));
    fs::create_directory_symlink(path("gone"), path("base/real/deep/other"));
    {
        const RealLinks links(
            {{path("base/real/deep/place"), path("shown")}, {path("base/real/deep/other"), path("shown")}});
        EXPECT_TRUE(fs::exists(path("base/real/deep/other/file")));
    }
    EXPECT_TRUE(fs::is_empty(path("base/real/deep")));
}

TEST_F(PrivateView, WhatIsThereAlreadyIsLeftAlone) {
    EXPECT_EQ(
        refusal_of([&] {
            const RealLinks links({{path("base/new/place"), path("shown")}, {path("base/present"), path("shown")}});
        }),
        path("base/present") + " exists already and no private view can be made here; move it away first.");
    EXPECT_TRUE(fs::exists(path("base/present/inner/kept")));
    EXPECT_FALSE(fs::exists(path("base/new")));
}

} // namespace
