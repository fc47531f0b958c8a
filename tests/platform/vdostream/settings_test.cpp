#include "platform/vdostream/settings.h"
#include "tests/platform/vdostream/test_video.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using test_video::environment;
using vdostream::MapValues;

/** Why the settings are not possible; "" when they are. */
std::string refusal(const MapValues& asked) {
    try {
        vdostream::read_settings(asked);
        return "";
    } catch (const vdostream::Failure& failure) {
        return failure.sentence;
    }
}

TEST(SettingsTest, TakesEverythingThatIsPossible) {
    const auto settings = vdostream::read_settings({{"channel", 1},
                                                    {"format", 3},
                                                    {"width", 4096},
                                                    {"height", 16},
                                                    {"rotation", 270},
                                                    {"framerate", 5},
                                                    {"buffer.strategy", 3}});
    EXPECT_EQ(settings.shape, (vdostream::Geometry{4096, 16, 270, vdostream::AspectRule::fit}));
    EXPECT_EQ(settings.framerate, 5U);
    EXPECT_TRUE(settings.explicit_buffers);
}

TEST(SettingsTest, HasDefaultsForAllButTheSize) {
    const auto settings = vdostream::read_settings({{"width", 640}, {"height", 360}});
    EXPECT_EQ(settings.shape, (vdostream::Geometry{640, 360, 0, vdostream::AspectRule::fit}));
    EXPECT_EQ(settings.framerate, 0U);
    EXPECT_FALSE(settings.explicit_buffers);
}

TEST(SettingsTest, RefusesTheImpossibleAndSaysWhat) {
    struct {
        MapValues asked;
        const char* why;
    } const cases[] = {
        {{}, "Stream size 0x0 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 640}}, "Stream size 640x0 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 641}, {"height", 360}},
         "Stream size 641x360 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 640}, {"height", 361}},
         "Stream size 640x361 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 4098}, {"height", 360}},
         "Stream size 4098x360 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 4294967294}, {"height", 4294967294}},
         "Stream size 4294967294x4294967294 is not possible; both must be even and from 16 to 4096"},
        {{{"width", 640}, {"height", 360}, {"channel", 2}}, "There is no video channel 2; the only one is 1"},
        {{{"width", 640}, {"height", 360}, {"channel", 0}}, "There is no video channel 0; the only one is 1"},
        {{{"width", 640}, {"height", 360}, {"format", 0}}, "Stream format 0 is not offered; only 3 (YUV, NV12) is"},
        {{{"width", 640}, {"height", 360}, {"format", 4294967295}},
         "Stream format 4294967295 is not offered; only 3 (YUV, NV12) is"},
        {{{"width", 640}, {"height", 360}, {"rotation", 45}},
         "Stream rotation 45 is not possible; it must be 0, 90, 180 or 270"},
        {{{"width", 640}, {"height", 360}, {"rotation", 360}},
         "Stream rotation 360 is not possible; it must be 0, 90, 180 or 270"},
        {{{"width", 640}, {"height", 360}, {"buffer.strategy", 1}},
         "Buffer strategy 1 is not offered; 3 (explicit) and 4 (infinite) are"},
        {{{"widht", 640}, {"height", 360}}, "Unknown stream setting \"widht\""},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(refusal(each.asked), each.why);
    }
}

TEST(SettingsTest, ReadsTheAspectFromTheEnvironment) {
    using vdostream::AspectRule;
    struct {
        const char* variable;
        bool accepted;
        AspectRule aspect;
    } const cases[] = {{"", true, AspectRule::fit},
                       {"fit", true, AspectRule::fit},
                       {"crop", true, AspectRule::crop},
                       {"stretch", true, AspectRule::stretch},
                       {"Fit", false, AspectRule::fit}};
    for (const auto& each : cases) {
        const environment set{{"KORVEX_VDO_ASPECT", each.variable}};
        const MapValues asked{{"width", 640}, {"height", 360}};
        if (each.accepted) {
            EXPECT_EQ(vdostream::read_settings(asked).shape.aspect, each.aspect);
        } else {
            EXPECT_EQ(refusal(asked), "KORVEX_VDO_ASPECT is \"Fit\"; it must be fit, crop or stretch");
        }
    }
}

} // namespace
