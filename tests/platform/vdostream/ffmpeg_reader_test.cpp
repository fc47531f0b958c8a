#include "platform/vdostream/ffmpeg_reader.h"
#include "tests/platform/vdostream/rtsp_camera.h"
#include "tests/platform/vdostream/test_video.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using test_video::luma_at;
using test_video::TemporaryFolder;
using test_video::video_file;
using vdostream::Access;
using vdostream::FfmpegReader;
using vdostream::Picture;

std::uint8_t middle_of(Picture& shown) {
    const auto bytes = shown.in_geometry({64, 48, 0, vdostream::AspectRule::stretch});
    return bytes == nullptr ? std::uint8_t{0} : bytes[std::size_t{64} * 24 + 32];
}

/** Every picture of the file; fails the test when it does not come to an end. */
std::vector<std::shared_ptr<Picture>> read_all(FfmpegReader& reader) {
    std::vector<std::shared_ptr<Picture>> all;
    try {
        while (const auto next = reader.read()) {
            all.push_back(next);
            if (all.size() > 1000) {
                ADD_FAILURE() << "no end";
                break;
            }
        }
    } catch (const vdostream::Failure& failure) {
        ADD_FAILURE() << failure.sentence;
    }
    return all;
}

TEST(FfmpegReaderTest, ReadsEveryFrameInItsTimeAndBeginsAgain) {
    const TemporaryFolder folder;
    video_file file{folder / "five.avi"};
    test_video::write_video(file);
    FfmpegReader reader(file.path, Access::file);
    for (int round = 0; round < 2; ++round) {
        std::string why;
        ASSERT_TRUE(test_video::opens(reader, why)) << why;
        EXPECT_EQ(reader.properties().width, 64);
        EXPECT_EQ(reader.properties().height, 48);
        EXPECT_DOUBLE_EQ(reader.properties().fps, 25.0);
        const auto all = read_all(reader);
        ASSERT_EQ(all.size(), 5U);
        for (int index = 0; index < 5; ++index) {
            EXPECT_NEAR(all[static_cast<std::size_t>(index)]->seconds, index / 25.0, 1e-6);
            EXPECT_EQ(middle_of(*all[static_cast<std::size_t>(index)]), luma_at(index, 32, 24));
        }
    }
}

/** One (16.16) in a display matrix. */
constexpr std::int32_t one = 1 << 16;

TEST(FfmpegReaderTest, MakesAVideoUprightThatWasTakenWithTheCameraOnItsSide) {
    // Where a picture's top left corner comes to lie: luma grows to the right and downwards from it.
    enum class corner { top_left, top_right, bottom_right, bottom_left };
    struct {
        const char* name;
        std::array<std::int32_t, 9> matrix;
        corner first;
        bool on_its_side;
    } const cases[] = {
        {"upright", {one, 0, 0, 0, one, 0, 0, 0, 1 << 30}, corner::top_left, false},
        {"turned by 90", {0, one, 0, -one, 0, 0, 0, 0, 1 << 30}, corner::top_right, true},
        {"turned by 180", {-one, 0, 0, 0, -one, 0, 0, 0, 1 << 30}, corner::bottom_right, false},
        {"turned by 270", {0, -one, 0, one, 0, 0, 0, 0, 1 << 30}, corner::bottom_left, true},
        {"mirrored", {-one, 0, 0, 0, one, 0, 0, 0, 1 << 30}, corner::top_right, false},
        {"upside down", {one, 0, 0, 0, -one, 0, 0, 0, 1 << 30}, corner::bottom_left, false},
    };
    const TemporaryFolder folder;
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        video_file file{folder / "turned.mov", 64, 48, 1};
        file.matrix = each.matrix;
        test_video::write_video(file);
        FfmpegReader reader(file.path, Access::file);
        std::string why;
        ASSERT_TRUE(test_video::opens(reader, why)) << why;
        const std::ptrdiff_t width = each.on_its_side ? 48 : 64;
        const std::ptrdiff_t height = each.on_its_side ? 64 : 48;
        EXPECT_EQ(reader.properties().width, static_cast<int>(width));
        EXPECT_EQ(reader.properties().height, static_cast<int>(height));
        const auto all = read_all(reader);
        ASSERT_EQ(all.size(), 1U);
        const auto bytes =
            all[0]->in_geometry({static_cast<int>(width), static_cast<int>(height), 0, vdostream::AspectRule::fit});
        const std::ptrdiff_t corners[] = {0, width - 1, width * height - 1, width * (height - 1)};
        EXPECT_EQ(bytes[corners[static_cast<std::size_t>(each.first)]], luma_at(0, 0, 0));
        EXPECT_EQ(bytes[corners[(static_cast<std::size_t>(each.first) + 2) % 4]], luma_at(0, 63, 47));
    }
}

TEST(FfmpegReaderTest, ReadsADisplayMatrixToTheNearestRightAngle) {
    struct {
        std::array<std::int32_t, 9> matrix;
        vdostream::Orientation expected;
    } const cases[] = {
        {{one, 0, 0, 0, one, 0, 0, 0, 1}, {false, 0}},
        {{0, 5, 0, -5, 0, 0, 7, 7, 1}, {false, 90}},
        {{9, 100, 0, -100, 9, 0, 0, 0, 1}, {false, 90}},
        {{0, -one, 0, one, 0, 0, 0, 0, 1}, {false, 270}},
        {{-one, 0, 0, 0, one, 0, 0, 0, 1}, {true, 180}},
        {{0, one, 0, one, 0, 0, 0, 0, 1}, {true, 90}},
        {{0, 0, 0, 0, 0, 0, 0, 0, 0}, {false, 0}},
        {{one, one, 0, one, one, 0, 0, 0, 1}, {false, 0}},
        {{INT32_MIN, 0, 0, 0, INT32_MIN, 0, 0, 0, 1}, {false, 180}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(vdostream::orientation_of(each.matrix.data()), each.expected) << testing::PrintToString(each.matrix);
}

TEST(FfmpegReaderTest, TakesOddSizesAndFullRangePictures) {
    const TemporaryFolder folder;
    for (const char* codec : {"ffv1", "mjpeg"}) {
        video_file file{folder / (std::string(codec) + ".avi"), 65, 33, 3, 25, codec};
        test_video::write_video(file);
        FfmpegReader reader(file.path, Access::file);
        std::string why;
        ASSERT_TRUE(test_video::opens(reader, why)) << why;
        const auto all = read_all(reader);
        ASSERT_EQ(all.size(), 3U);
        for (const auto& each : all)
            EXPECT_NE(each->in_geometry({64, 48, 0, vdostream::AspectRule::fit}), nullptr);
        // The full range's 64 is nearer to black in the limited one's terms: 16 + 64 * 219 / 255.
        const double raw = luma_at(0, 33, 16);
        EXPECT_NEAR(middle_of(*all[0]), std::string(codec) == "mjpeg" ? 16 + raw * 219 / 255 : raw, 4.0);
    }
}

TEST(FfmpegReaderTest, WritesNothingBehindTheBytesOfANarrowPicture) {
    constexpr std::size_t room = 4096;
    constexpr std::uint8_t untouched = 238;
    for (int width = 1; width <= 40; ++width) {
        const platform::FrameHandle frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV422P;
        frame->width = width;
        frame->height = 16;
        ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
        for (int plane = 0; plane < 3; ++plane)
            std::fill_n(frame->data[plane], frame->linesize[plane] * frame->height, std::uint8_t{100});
        std::vector<std::uint8_t> pixels(room, untouched);
        pixels.resize(0);
        vdostream::Nv12Converter converter;
        ASSERT_TRUE(converter.convert(*frame, pixels));
        ASSERT_EQ(pixels.capacity(), room);
        // The memory behind the last element is the vector's own; what lies there was put there above.
        const std::uint8_t* behind = pixels.data() + pixels.size();
        EXPECT_TRUE(std::all_of(behind, behind + 64, [](std::uint8_t byte) { return byte == untouched; })) << width;
    }
}

TEST(FfmpegReaderTest, FollowsAChangeOfResolutionInTheMiddle) {
    const TemporaryFolder folder;
    video_file small{folder / "small.mjpeg", 64, 48, 3, 25, "mjpeg"};
    video_file large{folder / "large.mjpeg", 128, 32, 3, 25, "mjpeg"};
    test_video::write_video(small);
    test_video::write_video(large);
    std::vector<char> both = test_video::read_file(small.path);
    const std::vector<char> rest = test_video::read_file(large.path);
    both.insert(both.end(), rest.begin(), rest.end());
    test_video::write_file(folder / "both.mjpeg", both);
    FfmpegReader reader(folder / "both.mjpeg", Access::file);
    std::string why;
    ASSERT_TRUE(test_video::opens(reader, why)) << why;
    const auto all = read_all(reader);
    ASSERT_EQ(all.size(), 6U);
    const vdostream::Geometry shape{64, 48, 0, vdostream::AspectRule::fit};
    // The wide pictures leave bars above and below; the others fill the frame.
    EXPECT_GT(all[0]->in_geometry(shape)[32], 30);
    EXPECT_EQ(all[5]->in_geometry(shape)[32], 16);
    for (std::size_t i = 1; i < all.size(); ++i)
        EXPECT_GT(all[i]->seconds, all[i - 1]->seconds);
}

TEST(FfmpegReaderTest, ComesToTheEndOfDamagedFiles) {
    const TemporaryFolder folder;
    video_file file{folder / "whole.avi", 64, 48, 20, 25, "mpeg4"};
    test_video::write_video(file);
    const std::vector<char> whole = test_video::read_file(file.path);
    const unsigned seed = 77;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 25; ++round) {
        std::vector<char> damaged = whole;
        for (int hits = 0; hits < 1 + round * 4; ++hits)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        if (round % 3 == 0)
            damaged.resize(random() % damaged.size());
        test_video::write_file(folder / "damaged.avi", damaged);
        FfmpegReader reader(folder / "damaged.avi", Access::file);
        std::string why;
        if (!test_video::opens(reader, why)) {
            EXPECT_NE(why, "");
            continue;
        }
        double last = -1.0;
        for (const auto& each : read_all(reader)) {
            EXPECT_GT(each->seconds, last);
            last = each->seconds;
            each->in_geometry({64, 48, 90, vdostream::AspectRule::crop});
        }
    }
}

TEST(FfmpegReaderTest, PassesOverPicturesThatWouldTakeTheMachinesMemory) {
    const TemporaryFolder folder;
    for (const auto& [side, pictures] : {std::pair{8192U, 1U}, std::pair{8194U, 0U}}) {
        // Black; the zeros are a hole in the file and take no room.
        const std::string path = folder / (std::to_string(side) + ".pgm");
        const std::string header = "P5 " + std::to_string(side) + " " + std::to_string(side) + " 255\n";
        test_video::write_file(path, {header.begin(), header.end()});
        std::filesystem::resize_file(path, header.size() + std::uintmax_t{side} * side);
        FfmpegReader reader(path, Access::file);
        std::string why;
        // The decoder knows the size in advance here; in the middle of a video it finds out picture by picture.
        const std::size_t shown = test_video::opens(reader, why) ? read_all(reader).size() : 0;
        EXPECT_EQ(shown, pictures) << side << " " << why;
    }
}

TEST(FfmpegReaderTest, SaysWhyAFileIsNoVideo) {
    const TemporaryFolder folder;
    test_video::write_file(folder / "text.avi", {'n', 'o', ' ', 'v', 'i', 'd', 'e', 'o'});
    test_video::write_file(folder / "empty.avi", {});
    struct {
        std::string path;
        const char* why;
    } const cases[] = {
        {folder / "missing.avi", "cannot be opened \\(No such file or directory\\)"},
        {folder / "text.avi", "cannot be opened \\(.+\\)"},
        {folder / "empty.avi", "cannot be opened \\(.+\\)"},
        {folder / "", "cannot be opened \\(.+\\)"},
    };
    for (const auto& each : cases) {
        FfmpegReader reader(each.path, Access::file);
        std::string why;
        EXPECT_FALSE(test_video::opens(reader, why)) << each.path;
        EXPECT_THAT(why, testing::MatchesRegex(each.why));
    }
}

TEST(FfmpegReaderTest, AsksACameraForItsVideoOnly) {
    const test_video::RtspCamera camera;
    FfmpegReader reader(camera.url(), Access::rtsp);
    std::string why;
    EXPECT_FALSE(test_video::opens(reader, why));
    EXPECT_EQ(camera.wanted_tracks(), std::vector<std::string>{"video"});
}

TEST(FfmpegReaderTest, ACameraThatIsNotThereIsAnErrorToo) {
    std::string why;
    FfmpegReader nowhere("rtsp://127.0.0.1:1/none", Access::rtsp);
    EXPECT_FALSE(test_video::opens(nowhere, why));
    EXPECT_EQ(why, "cannot be opened (Connection refused)");
    FfmpegReader nothing("/dev/video-none", Access::v4l2);
    EXPECT_FALSE(test_video::opens(nothing, why));
    EXPECT_EQ(why, "cannot be opened (No such file or directory)");
}

} // namespace
