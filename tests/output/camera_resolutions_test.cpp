#include "output/camera_resolutions.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/recording_vdo.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class CameraResolutionsTest : public core_fixture {
  protected:
    call_recorder& service = recording_vdo::recorder();
};

} // namespace

TEST_F(CameraResolutionsTest, JoinsTheResolutionsOfAllChannelsSortedAndOnce) {
    recording_vdo::offer({{{1920, 1080}, {640, 360}}, {{640, 360}, {1920, 1080}}});
    EXPECT_EQ(getCamerasResolutionsAsCsv(), "640x360,1920x1080,");
}

TEST_F(CameraResolutionsTest, SortsEqualWidthsByHeight) {
    recording_vdo::offer({{{640, 480}, {640, 360}, {100, 900}, {1280, 1}}});
    EXPECT_EQ(getCamerasResolutionsAsCsv(), "100x900,640x360,640x480,1280x1,");
    const std::set<Resolution> resolutions = getCameraResolutions();
    ASSERT_EQ(resolutions.size(), 4U);
    EXPECT_EQ(resolutions.begin()->width, 100U);
    EXPECT_EQ(resolutions.begin()->height, 900U);
}

TEST_F(CameraResolutionsTest, AsksEveryChannelOnce) {
    recording_vdo::offer({{{1, 2}}, {}, {{4294967295U, 4}}});
    EXPECT_THAT(log_of([] { EXPECT_EQ(getCamerasResolutionsAsCsv(), "1x2,4294967295x4,"); }),
                ElementsAre("info|getCameraResolutions: Successfully got all channels."));
    EXPECT_THAT(service.journal(), ElementsAre("vdo_channel_get_all", "vdo_channel_get_resolutions",
                                               "vdo_channel_get_resolutions", "vdo_channel_get_resolutions"));
    EXPECT_EQ(service.live("VdoChannel"), 0);
}

TEST_F(CameraResolutionsTest, IsEmptyWhenTheChannelsCannotBeListed) {
    service.fail("vdo_channel_get_all");
    EXPECT_THAT(log_of([] { EXPECT_EQ(getCamerasResolutionsAsCsv(), ""); }),
                ElementsAre("error|getCameraResolutions: Failed to get all channels."));
    EXPECT_THAT(getCameraResolutions(), IsEmpty());
    EXPECT_THAT(service.calls("vdo_channel_get_resolutions"), IsEmpty());
}

TEST_F(CameraResolutionsTest, LeavesOutAChannelThatDoesNotAnswer) {
    recording_vdo::offer({{{1, 2}}, {{3, 4}}});
    service.fail("vdo_channel_get_resolutions", {.times = 1});
    EXPECT_THAT(log_of([] { EXPECT_EQ(getCamerasResolutionsAsCsv(), "3x4,"); }),
                ElementsAre("info|getCameraResolutions: Successfully got all channels."));
    EXPECT_EQ(service.live("VdoChannel"), 0);
}
