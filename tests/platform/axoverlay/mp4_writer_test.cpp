#include "platform/axoverlay/mp4_writer.h"
#include "tests/platform/axoverlay/mp4_reader.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace {

using namespace host_overlay;

TEST(Mp4Writer, PutsThePacketsOfOneEncoderIntoAsManyFilesAsAreWanted) {
    const TemporaryFolder scratch;
    const std::string folder = scratch.path();
    H264Encoder encoder(64, 48);
    {
        Mp4Writer first(folder + "/a.mp4", encoder);
        Mp4Writer second(folder + "/b.mp4", encoder);
        const PacketTaker both = [&](AVPacket* packet) {
            const platform::PacketHandle copy(av_packet_clone(packet));
            first.write(copy.get());
            second.write(packet);
        };
        Nv12Picture picture;
        picture.resize(64, 48);
        for (int i = 0; i < 10; ++i)
            encoder.add(picture, 0.5 * i, both);
        encoder.finish(both);
        first.finish();
        second.finish();
    }
    for (const char* name : {"/a.mp4", "/b.mp4"}) {
        const Mp4Content content = read_mp4(folder + name);
        EXPECT_EQ(content.codec, "h264");
        ASSERT_EQ(content.seconds.size(), 10U);
        EXPECT_NEAR(content.seconds.back(), 4.5, 1e-3);
    }
}

TEST(Mp4Writer, SaysWhereItCannotWrite) {
    const H264Encoder encoder(64, 48);
    try {
        const Mp4Writer writer("/no/such/folder/a.mp4", encoder);
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "cannot write /no/such/folder/a.mp4: No such file or directory");
    }
}

} // namespace
