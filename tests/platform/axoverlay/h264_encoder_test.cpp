#include "platform/axoverlay/h264_encoder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using namespace host_overlay;

struct Seen {
    long long time = 0;
    bool is_key = false;
    std::vector<std::uint8_t> bytes;
    bool operator==(const Seen&) const = default;
};

/** Pictures of noise, five a second. */
std::vector<Seen> packets_of(int pictures) {
    std::mt19937 random(1);
    std::vector<Seen> seen;
    const PacketTaker take = [&](AVPacket* packet) {
        seen.push_back(
            {packet->pts, (packet->flags & AV_PKT_FLAG_KEY) != 0, {packet->data, packet->data + packet->size}});
    };
    H264Encoder encoder(64, 48);
    Nv12Picture picture;
    picture.resize(64, 48);
    for (int i = 0; i < pictures; ++i) {
        std::generate(picture.bytes.begin(), picture.bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        encoder.add(picture, 100.0 + 0.2 * i, take);
    }
    encoder.finish(take);
    return seen;
}

TEST(H264Encoder, GivesAPacketForEachPictureAndAKeyEvery50) {
    const auto seen = packets_of(120);
    ASSERT_EQ(seen.size(), 120U);
    for (size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].time, static_cast<long long>(i) * 18000);
        EXPECT_TRUE(seen[i].is_key || i % 50 != 0) << i;
    }
}

TEST(H264Encoder, EqualPicturesAreEqualPackets) {
    EXPECT_EQ(packets_of(20), packets_of(20));
}

TEST(H264Encoder, SaysWhatItCannotEncode) {
    EXPECT_THROW(H264Encoder(0, 0), std::runtime_error);
}

} // namespace
