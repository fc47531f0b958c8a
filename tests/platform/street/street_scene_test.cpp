#include "platform/street/street_scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

namespace {

using host_scene::StreetScene;
using host_scene::TruthObject;

constexpr std::size_t pixel_count = std::size_t{1280} * 720;

std::vector<std::uint8_t> nv12_at(StreetScene& scene, double seconds) {
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(scene.width()) *
                                     static_cast<std::size_t>(scene.height()) * 3 / 2);
    scene.draw_nv12(seconds, pixels.data());
    return pixels;
}

TEST(StreetSceneTest, DrawsTheSameBytesForTheSameMomentInAnyOrder) {
    StreetScene once(1280, 720);
    StreetScene again(1280, 720);
    const auto first = nv12_at(once, 12.36);
    nv12_at(again, 80.0);
    EXPECT_EQ(first, nv12_at(again, 12.36));
    EXPECT_EQ(first, nv12_at(once, 12.36));
}

TEST(StreetSceneTest, FramesDifferFromOneToTheNext) {
    StreetScene scene(1280, 720);
    EXPECT_NE(nv12_at(scene, 1.0), nv12_at(scene, 1.04));
}

TEST(StreetSceneTest, KeepsLumaAndChromaWithinTheVideoRange) {
    StreetScene scene(1280, 720);
    const auto pixels = nv12_at(scene, 48.0);
    const auto luma_end = pixels.begin() + static_cast<std::ptrdiff_t>(pixel_count);
    const auto [lowest, highest] = std::minmax_element(pixels.begin(), luma_end);
    EXPECT_GE(*lowest, 12);
    EXPECT_LE(*highest, 241);
    EXPECT_GT(*highest - *lowest, 150);
}

TEST(StreetSceneTest, DrawsAnySizeAndScalesItsTruthWithIt) {
    StreetScene large(1280, 720);
    StreetScene small(640, 360);
    EXPECT_EQ(nv12_at(small, 3.0).size(), std::size_t{640} * 360 * 3 / 2);
    const auto full = large.truth(48.0);
    const auto half = small.truth(48.0);
    ASSERT_EQ(full.size(), half.size());
    ASSERT_FALSE(full.empty());
    for (std::size_t i = 0; i < full.size(); ++i) {
        EXPECT_EQ(full[i].id, half[i].id);
        EXPECT_DOUBLE_EQ(full[i].left, half[i].left * 2);
        EXPECT_DOUBLE_EQ(full[i].height, half[i].height * 2);
    }
}

TEST(StreetSceneTest, SurvivesMomentsThatAreNone) {
    StreetScene scene(64, 36);
    for (const double odd : {-5.0, std::nan(""), HUGE_VAL, 1e300}) {
        nv12_at(scene, odd);
        scene.truth(odd);
    }
    EXPECT_EQ(nv12_at(scene, -5.0), nv12_at(scene, 0.0));
}

/** Pixels that something other than the background covers, found by comparing with a moment at which they are free. */
std::vector<bool> changed_pixels(StreetScene& scene, double seconds, double other) {
    std::vector<std::uint32_t> shown(pixel_count);
    std::vector<std::uint32_t> reference(pixel_count);
    scene.draw_rgb(seconds, shown.data());
    scene.draw_rgb(other, reference.data());
    std::vector<bool> changed(pixel_count);
    for (std::size_t i = 0; i < pixel_count; ++i) {
        const auto difference = [&](unsigned shift) {
            return std::abs(static_cast<int>(shown[i] >> shift & 0xFFU) -
                            static_cast<int>(reference[i] >> shift & 0xFFU));
        };
        changed[i] = difference(0) + difference(8) + difference(16) > 60;
    }
    return changed;
}

TEST(StreetSceneTest, DrawsEveryVehicleWhereTheTruthSays) {
    StreetScene scene(1280, 720);
    // Each stopped vehicle against the empty middle of the road at 20 s.
    for (const double moment : {7.0, 30.0, 60.0}) {
        const auto changed = changed_pixels(scene, moment, 20.0);
        const auto truth = scene.truth(moment);
        const auto stopped = std::find_if(truth.begin(), truth.end(), [](const TruthObject& each) {
            return each.class_index != 0 && std::abs(each.left + each.width / 2 - 640.0) < 1.0 && each.top > 400.0;
        });
        ASSERT_NE(stopped, truth.end()) << moment;
        double left = 1280;
        double right = 0;
        double top = 720;
        // Down to the sills: below them lies the shadow, which is no part of the box.
        const int lowest = static_cast<int>(stopped->top + stopped->height) - 20;
        for (int y = 410; y < lowest; ++y) {
            for (int x = 300; x < 980; ++x) {
                if (changed[static_cast<std::size_t>(y) * 1280 + static_cast<std::size_t>(x)]) {
                    left = std::min<double>(left, x);
                    right = std::max<double>(right, x + 1);
                    top = std::min<double>(top, y);
                }
            }
        }
        EXPECT_NEAR(left, stopped->left, 8.0) << moment;
        EXPECT_NEAR(right, stopped->left + stopped->width, 8.0) << moment;
        EXPECT_NEAR(top, stopped->top, 8.0) << moment;
    }
}

TEST(StreetSceneTest, ShowsEveryKindWithinOneCycle) {
    const StreetScene scene(1280, 720);
    std::map<int, int> seen;
    for (double seconds = 0.0; seconds < host_scene::cycle_seconds; seconds += 0.5) {
        for (const TruthObject& each : scene.truth(seconds)) {
            ++seen[each.class_index];
            EXPECT_GE(each.left, 0.0);
            EXPECT_LE(each.left + each.width, 1280.0);
            EXPECT_GE(each.top, 0.0);
            EXPECT_LE(each.top + each.height, 720.0);
        }
    }
    EXPECT_THAT(seen, testing::ElementsAre(testing::Key(0), testing::Key(2), testing::Key(5), testing::Key(7)));
}

} // namespace
