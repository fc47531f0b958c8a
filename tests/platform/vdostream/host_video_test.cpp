#include "platform/vdostream/host_video.h"
#include "tests/platform/vdostream/test_video.h"
#include "vdo-buffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using test_video::environment;
using test_video::luma_at;
using test_video::new_stream;
using test_video::TemporaryFolder;
using test_video::video_file;

struct Unreference {
    void operator()(VdoStream* stream) const { g_object_unref(stream); }
};
using StreamHandle = std::unique_ptr<VdoStream, Unreference>;

StreamHandle started(guint32 width = 64, guint32 height = 48) {
    StreamHandle stream(new_stream({{"width", width}, {"height", height}}));
    EXPECT_TRUE(vdo_stream_start(stream.get(), nullptr));
    return stream;
}

std::vector<std::uint8_t> frame_of(VdoStream* stream, std::size_t size = 64 * 48 * 3 / 2) {
    VdoBuffer* buffer = vdo_stream_get_buffer(stream, nullptr);
    if (buffer == nullptr)
        return {};
    std::vector<std::uint8_t> bytes(size);
    std::memcpy(bytes.data(), vdo_buffer_get_data(buffer), size);
    vdo_stream_buffer_unref(stream, &buffer, nullptr);
    return bytes;
}

TEST(HostVideoTest, ReplayShowsTheLastFrameAtOrBeforeTheTimeUntilTheFileEnds) {
    const TemporaryFolder folder;
    const video_file file{folder / "five.avi"};
    test_video::write_video(file);
    const environment set{{"KORVEX_VDO_SOURCE", file.path}, {"KORVEX_VDO_REPLAY", "1"}};
    const StreamHandle stream = started();
    struct {
        double seconds;
        bool within;
        int index;
    } const cases[] = {{0.0, true, 0},  {0.0, true, 0},  {0.039, true, 0},    {0.04, true, 1}, {0.119, true, 2},
                       {0.05, true, 2}, {0.16, true, 4}, {0.199, true, 4},    {0.2, false, 4}, {99.0, false, 4},
                       {-1.0, true, 4}, {NAN, false, 4}, {HUGE_VAL, false, 4}};
    for (const auto& each : cases) {
        EXPECT_EQ(host_video::replay_advance(each.seconds), each.within) << each.seconds;
        const auto frame = frame_of(stream.get());
        ASSERT_FALSE(frame.empty());
        EXPECT_EQ(frame[0], luma_at(each.index, 0, 0)) << each.seconds;
        EXPECT_EQ(frame_of(stream.get()), frame);
    }
    EXPECT_EQ(host_video::statistics().frames_decoded, 5U);
}

TEST(HostVideoTest, ReplayOfTheSceneIsTheSameEveryTimeAndNeverEnds) {
    const environment set{{"KORVEX_VDO_SOURCE", "scene"}, {"KORVEX_VDO_REPLAY", "1"}};
    std::vector<std::vector<std::uint8_t>> runs[2];
    for (auto& run : runs) {
        const StreamHandle stream = started(320, 180);
        for (int pass = 0; pass < 4; ++pass) {
            EXPECT_TRUE(host_video::replay_advance(pass * 0.2));
            run.push_back(frame_of(stream.get(), 320 * 180 * 3 / 2));
        }
        EXPECT_TRUE(host_video::replay_advance(1e6));
        run.push_back(frame_of(stream.get(), 320 * 180 * 3 / 2));
    }
    EXPECT_EQ(runs[0], runs[1]);
    EXPECT_NE(runs[0][0], runs[0][1]);
    EXPECT_NE(runs[0][3], runs[0][4]);
}

TEST(HostVideoTest, StreamsOfOneReplayMoveTogether) {
    const TemporaryFolder folder;
    const video_file file{folder / "five.avi"};
    test_video::write_video(file);
    const environment set{{"KORVEX_VDO_SOURCE", file.path}, {"KORVEX_VDO_REPLAY", "1"}};
    const StreamHandle one = started();
    const StreamHandle two = started();
    EXPECT_TRUE(host_video::replay_advance(0.12));
    EXPECT_EQ(frame_of(one.get())[0], luma_at(3, 0, 0));
    EXPECT_EQ(frame_of(two.get())[0], luma_at(3, 0, 0));
    const StreamHandle three = started();
    EXPECT_EQ(frame_of(three.get())[0], luma_at(3, 0, 0));
}

TEST(HostVideoTest, OnlyWhatHasATimeOfItsOwnCanBeReplayed) {
    const environment set{{"KORVEX_VDO_SOURCE", "rtsp://127.0.0.1:1/live"}, {"KORVEX_VDO_REPLAY", "1"}};
    std::string message;
    EXPECT_EQ(new_stream({{"width", 64}, {"height", 48}}, &message), nullptr);
    EXPECT_EQ(message, "The video source rtsp://127.0.0.1:1/live cannot be replayed; a file or the scene can");
}

TEST(HostVideoTest, AFileWithoutFramesGivesNoneInReplay) {
    const TemporaryFolder folder;
    const video_file file{folder / "five.avi"};
    test_video::write_video(file);
    std::vector<char> header = test_video::read_file(file.path);
    // Cut where the first picture's bytes would begin.
    const std::string text(header.begin(), header.end());
    header.resize(text.find("movi") + 4);
    test_video::write_file(folder / "none.avi", header);
    const environment set{{"KORVEX_VDO_SOURCE", folder / "none.avi"}, {"KORVEX_VDO_REPLAY", "1"}};
    std::string message;
    const StreamHandle stream(new_stream({{"width", 64}, {"height", 48}}, &message));
    if (stream == nullptr) {
        EXPECT_NE(message, "");
        return;
    }
    vdo_stream_start(stream.get(), nullptr);
    EXPECT_FALSE(host_video::replay_advance(1.0));
    EXPECT_TRUE(frame_of(stream.get()).empty());
}

TEST(HostVideoTest, AFileLoopsOutsideTheReplay) {
    const TemporaryFolder folder;
    const video_file file{folder / "three.avi", 64, 48, 3, 50};
    test_video::write_video(file);
    const environment set{{"KORVEX_VDO_SOURCE", file.path}};
    const StreamHandle stream = started();
    const std::uint64_t handed = host_video::statistics().frames_handed;
    for (int i = 0; i < 8; ++i)
        EXPECT_FALSE(frame_of(stream.get()).empty()) << i;
    const host_video::Statistics now = host_video::statistics();
    EXPECT_GE(now.frames_decoded, 8U);
    EXPECT_EQ(now.frames_handed - handed, 8U);
    EXPECT_DOUBLE_EQ(now.source_fps, 50.0);
    EXPECT_EQ(now.source_width, 64);
    EXPECT_EQ(now.source_height, 48);
    EXPECT_EQ(now.source, file.path);
}

TEST(HostVideoTest, WithoutAStreamThereIsNothingToTell) {
    EXPECT_TRUE(host_video::replay_advance(5.0));
    EXPECT_EQ(host_video::statistics().source, "");
    EXPECT_EQ(host_video::statistics().frames_decoded, 0U);
}

} // namespace
