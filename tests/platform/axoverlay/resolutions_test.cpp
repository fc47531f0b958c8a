#include "platform/axoverlay/resolutions.h"
#include "tests/platform/axoverlay/fake_vdo.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace host_overlay;

TEST(Resolutions, ComeInTheCamerasOrder) {
    fake_vdo::behave({.resolutions = {{640, 360}, {1920, 1080}}});
    EXPECT_EQ(list_text(channel_resolutions()), "640x360, 1920x1080");
}

TEST(Resolutions, TheLargestHasTheMostPixels) {
    const VdoResolution found = largest({{1000, 100}, {400, 300}, {90000, 1}});
    EXPECT_EQ(found.width, 400U);
    EXPECT_EQ(found.height, 300U);
}

TEST(Resolutions, ACameraThatDoesNotSayIsAnErrorWithItsReason) {
    fake_vdo::behave({.channel_failure = "lens cap on"});
    try {
        channel_resolutions();
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "the camera's video channel is not available: lens cap on");
    }
    fake_vdo::behave({.resolutions = {}});
    EXPECT_THROW(channel_resolutions(), std::runtime_error);
}

} // namespace
