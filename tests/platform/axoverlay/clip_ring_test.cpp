#include "platform/axoverlay/clip_ring.h"
#include "tests/platform/axoverlay/mp4_reader.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using namespace host_overlay;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double rate = 25.0;

/** A video whose brightness tells its second. */
class ClipRingTest : public testing::Test {
  protected:
    static int luma_at(double seconds) { return 20 + static_cast<int>(seconds * 3.0); }

    void film_until(double seconds) {
        for (; filmed < seconds; filmed += 1.0 / rate) {
            Nv12Picture picture;
            picture.resize(64, 48);
            std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{128});
            std::fill_n(picture.luma(), picture.luma_size(), static_cast<std::uint8_t>(luma_at(filmed)));
            encoder.add(picture, filmed, [this](AVPacket* packet) { ring.add(packet); });
        }
    }

    void finish() {
        encoder.finish([this](AVPacket* packet) { ring.add(packet); });
        ring.finish();
    }

    std::string path(const std::string& name) const { return folder + "/" + name; }

    const TemporaryFolder scratch;
    const std::string folder = scratch.path();
    std::vector<std::string> written;
    std::vector<std::string> failures;
    double filmed = 0.0;
    H264Encoder encoder{64, 48};
    ClipRing ring{encoder,
                  [this](const std::string& path, std::uint64_t bytes) {
                      EXPECT_EQ(bytes, std::filesystem::file_size(path));
                      written.push_back(path);
                  },
                  [this](const std::string& why) { failures.push_back(why); }};
};

TEST_F(ClipRingTest, AClipHasTheTenSecondsBeforeAndAfter) {
    film_until(30.0);
    ring.save(path("a.mp4"), 30.0);
    film_until(39.0);
    EXPECT_THAT(written, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(path("a.mp4"))); // until it is whole
    film_until(45.0);
    ASSERT_THAT(written, ElementsAre(path("a.mp4")));
    EXPECT_FALSE(std::filesystem::exists(path("a.mp4.new")));
    const Mp4Content content = read_mp4(path("a.mp4"));
    ASSERT_GT(content.seconds.size(), 400U);
    EXPECT_EQ(content.seconds.front(), 0.0);
    // From a picture at which a player can begin, of which there is one every two seconds.
    EXPECT_LE(content.luma.front(), luma_at(20.0) + 3);
    EXPECT_GE(content.luma.front(), luma_at(18.0) - 3);
    EXPECT_NEAR(content.luma.back(), luma_at(40.0), 3);
    EXPECT_NEAR(content.seconds.back(), (content.luma.back() - content.luma.front()) / 3.0, 1.0);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(ClipRingTest, ClipsMayOverlap) {
    film_until(12.0);
    ring.save(path("a.mp4"), 12.0);
    film_until(17.0);
    ring.save(path("b.mp4"), 17.0);
    film_until(30.0);
    EXPECT_THAT(written, ElementsAre(path("a.mp4"), path("b.mp4")));
    EXPECT_NEAR(read_mp4(path("b.mp4")).luma.back(), luma_at(27.0), 3);
}

TEST_F(ClipRingTest, AtTheEndItHasWhatThereIs) {
    film_until(3.0);
    ring.save(path("a.mp4"), 3.0);
    film_until(5.0);
    finish();
    EXPECT_THAT(written, ElementsAre(path("a.mp4")));
    EXPECT_EQ(read_mp4(path("a.mp4")).seconds.size(), 125U);
}

TEST_F(ClipRingTest, MemoryHoldsLittleMoreThanItNeeds) {
    film_until(14.0);
    const size_t soon = ring.bytes();
    film_until(60.0);
    EXPECT_GT(ring.bytes(), 0U);
    EXPECT_LT(ring.bytes(), 2 * soon);
}

TEST_F(ClipRingTest, WhatCannotBeWrittenIsSaidAndLeavesNothing) {
    film_until(3.0);
    ring.save(folder + "/none/a.mp4", 3.0);
    ring.save(path("b.mp4"), 3.0);
    film_until(15.0);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_THAT(failures[0], testing::HasSubstr("cannot write " + folder + "/none/a.mp4.new: "));
    EXPECT_THAT(written, ElementsAre(path("b.mp4")));
}

} // namespace
