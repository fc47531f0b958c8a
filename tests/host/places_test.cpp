#include "host/places.h"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace {

using console::Places;

TEST(Places, OfABuildAreInItsFolderAndInTheRepository) {
    const Places places = console::built_places("/build/asan", "/tree");
    EXPECT_EQ(places.live, "/build/asan/host/korvex_live");
    EXPECT_EQ(places.replay, "/build/asan/host/korvex_replay");
    EXPECT_EQ(places.stays, "/build/asan/host/korvex_stays");
    EXPECT_EQ(places.settings, "/build/asan/host/korvex_settings");
    EXPECT_EQ(places.parameter, "/build/asan/platform/axparameter/korvex_parameter");
    EXPECT_EQ(places.check_model, "/build/asan/platform/larod/korvex_check_model");
    EXPECT_EQ(places.check_video, "/build/asan/platform/vdostream/korvex_check_video");
    EXPECT_EQ(places.inference_service, "/build/asan/platform/larod/korvex_larod");
    EXPECT_EQ(places.inference_library, "");
    EXPECT_EQ(places.pages, "/tree/html");
    EXPECT_EQ(places.web_rules, "/tree/web/lighttpd");
    EXPECT_EQ(places.models, "/tree/build/model");
    EXPECT_EQ(places.manifest, "/tree/package/manifest.json");
    EXPECT_EQ(places.state, "/tree/.state");
}

TEST(Places, OfAPackageAreBesideTheProgramAndInItsShare) {
    const Places places = console::installed_places("/usr/lib/korvex_orvel", "/home/anna");
    EXPECT_EQ(places.live, "/usr/lib/korvex_orvel/korvex_live");
    EXPECT_EQ(places.replay, "/usr/lib/korvex_orvel/korvex_replay");
    EXPECT_EQ(places.stays, "/usr/lib/korvex_orvel/korvex_stays");
    EXPECT_EQ(places.settings, "/usr/lib/korvex_orvel/korvex_settings");
    EXPECT_EQ(places.parameter, "/usr/lib/korvex_orvel/korvex_parameter");
    EXPECT_EQ(places.check_model, "/usr/lib/korvex_orvel/korvex_check_model");
    EXPECT_EQ(places.check_video, "/usr/lib/korvex_orvel/korvex_check_video");
    EXPECT_EQ(places.inference_service, "/usr/lib/korvex_orvel/korvex_larod");
    EXPECT_EQ(places.inference_library, "/usr/lib/korvex_orvel/libtensorflowlite_c.so");
    EXPECT_EQ(places.pages, "/usr/share/korvex_orvel/html");
    EXPECT_EQ(places.web_rules, "/usr/share/korvex_orvel/web/lighttpd");
    EXPECT_EQ(places.models, "/usr/share/korvex_orvel/model");
    EXPECT_EQ(places.manifest, "/usr/share/korvex_orvel/package/manifest.json");
    EXPECT_EQ(places.state, "/home/anna/.local/state/korvex_orvel");
}

TEST(Places, AreThoseOfTheBuildThatTheEnvironmentNames) {
    setenv("KORVEX_BUILD_DIR", "/somewhere/else", 1);
    EXPECT_EQ(console::own_places().live, "/somewhere/else/host/korvex_live");
    unsetenv("KORVEX_BUILD_DIR");
    // Of a program that stands anywhere else, as this test does.
    EXPECT_TRUE(console::own_places().live.ends_with("/tests/host/korvex_live"));
}

} // namespace
