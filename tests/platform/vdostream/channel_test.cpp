#include "tests/platform/vdostream/test_video.h"
#include "vdo-channel.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using test_video::environment;
using test_video::take_message;

/** "1920x1080 640x360", or the error's message. */
std::string offered() {
    GError* error = nullptr;
    VdoChannel* channel = vdo_channel_get(1, &error);
    VdoResolutionSet* set = vdo_channel_get_resolutions(channel, nullptr, &error);
    g_object_unref(channel);
    if (set == nullptr)
        return take_message(error);
    std::string text;
    for (gsize i = 0; i < set->count; ++i)
        text += (i == 0 ? "" : " ") + std::to_string(set->resolutions[i].width) + "x" +
                std::to_string(set->resolutions[i].height);
    g_free(set);
    return text;
}

TEST(ChannelTest, OffersTheBuiltInSizesInOrder) {
    EXPECT_EQ(offered(), "1920x1080 1280x960 1280x720 800x600 800x450 640x480 640x360");
}

TEST(ChannelTest, OffersTheSizesOfTheEnvironmentOrSaysWhatIsWrongWithThem) {
    struct {
        const char* variable;
        const char* expected;
    } const cases[] = {
        {"", "1920x1080 1280x960 1280x720 800x600 800x450 640x480 640x360"},
        {"640x360", "640x360"},
        {"640x360,1280x720", "640x360 1280x720"},
        {"640x360,",
         "KORVEX_VDO_RESOLUTIONS: \"\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to 4096, "
         "separated by commas"},
        {"640", "KORVEX_VDO_RESOLUTIONS: \"640\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to 4096, "
                "separated by commas"},
        {"640x",
         "KORVEX_VDO_RESOLUTIONS: \"640x\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to 4096, "
         "separated by commas"},
        {"640x360x2",
         "KORVEX_VDO_RESOLUTIONS: \"640x360x2\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 "
         "to 4096, separated by commas"},
        {"-2x4",
         "KORVEX_VDO_RESOLUTIONS: \"-2x4\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to 4096, "
         "separated by commas"},
    };
    for (const auto& each : cases) {
        const environment set{{"KORVEX_VDO_RESOLUTIONS", each.variable}};
        EXPECT_EQ(offered(), each.expected) << each.variable;
    }
}

TEST(ChannelTest, ThereIsNoOtherChannel) {
    for (const guint number : {0U, 2U, 4294967295U}) {
        GError* error = nullptr;
        EXPECT_EQ(vdo_channel_get(number, &error), nullptr);
        EXPECT_EQ(take_message(error), "There is no video channel " + std::to_string(number) + "; the only one is 1");
        EXPECT_EQ(vdo_channel_get(number, nullptr), nullptr);
    }
}

TEST(ChannelTest, ListsTheOneChannel) {
    GError* error = nullptr;
    GList* all = vdo_channel_get_all(&error);
    EXPECT_EQ(error, nullptr);
    ASSERT_EQ(g_list_length(all), 1U);
    VdoResolutionSet* set = vdo_channel_get_resolutions(static_cast<VdoChannel*>(all->data), nullptr, &error);
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->count, 7U);
    g_free(set);
    g_list_free_full(all, g_object_unref);
}

TEST(ChannelTest, NoChannelHasNoResolutions) {
    GError* error = nullptr;
    EXPECT_EQ(vdo_channel_get_resolutions(nullptr, nullptr, &error), nullptr);
    EXPECT_EQ(take_message(error), "No video channel was given");
}

} // namespace
