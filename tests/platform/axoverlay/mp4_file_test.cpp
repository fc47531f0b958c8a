#include "platform/axoverlay/mp4_file.h"
#include "tests/platform/axoverlay/mp4_reader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

namespace {

using namespace host_overlay;

Nv12Picture grey(int width, int height, int y) {
    Nv12Picture picture;
    picture.resize(width, height);
    std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{128});
    std::fill_n(picture.luma(), picture.luma_size(), static_cast<std::uint8_t>(y));
    return picture;
}

class Mp4FileTest : public testing::Test {
  protected:
    ~Mp4FileTest() override { std::filesystem::remove(path); }

    std::string contents() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::string path = testing::TempDir() + "mp4_file_test_" + std::to_string(getpid()) + ".mp4";
};

TEST_F(Mp4FileTest, KeepsEveryPictureWithItsTime) {
    Mp4File file(path, 320, 180);
    for (int i = 0; i < 60; ++i)
        file.add(grey(320, 180, 20 + 3 * i), 100.0 + 0.2 * i);
    file.finish();
    const Mp4Content content = read_mp4(path);
    EXPECT_EQ(content.codec, "h264");
    EXPECT_EQ(content.width, 320);
    EXPECT_EQ(content.height, 180);
    ASSERT_EQ(content.seconds.size(), 60U);
    for (int i = 0; i < 60; ++i) {
        const auto n = static_cast<std::size_t>(i);
        EXPECT_NEAR(content.seconds[n], 0.2 * i, 1e-3);
        EXPECT_NEAR(content.luma[n], 20 + 3 * i, 4);
    }
}

TEST_F(Mp4FileTest, LeavesOutAPictureThatIsNotLaterThanTheOneBefore) {
    Mp4File file(path, 64, 48);
    for (const double seconds : {1.0, 1.0, 0.5, 2.0})
        file.add(grey(64, 48, 100), seconds);
    file.finish();
    EXPECT_EQ(read_mp4(path).seconds, (std::vector<double>{0.0, 1.0}));
}

TEST_F(Mp4FileTest, EqualVideosAreEqualFiles) {
    std::string first;
    for (int round = 0; round < 2; ++round) {
        Mp4File file(path, 64, 48);
        for (int i = 0; i < 5; ++i)
            file.add(grey(64, 48, 50 * i), 0.04 * i);
        file.finish();
        if (round == 0)
            first = contents();
    }
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(contents(), first);
}

TEST_F(Mp4FileTest, WithoutAnyPictureTheFileStillCloses) {
    Mp4File file(path, 64, 48);
    file.finish();
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(Mp4FileTest, APlaceThatCannotBeWrittenIsAClearError) {
    try {
        Mp4File file("/nowhere/at/all.mp4", 64, 48);
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "cannot write /nowhere/at/all.mp4: No such file or directory");
    }
}

TEST_F(Mp4FileTest, IsPlayableToItsLastSecondWhenNobodyFinishesIt) {
    Mp4File file(path, 320, 180);
    for (int i = 0; i < 250; ++i)
        file.add(grey(320, 180, 20 + i % 200), 0.04 * i);
    // As a process that is killed now would leave it.
    const Mp4Content content = read_mp4(path);
    ASSERT_FALSE(content.seconds.empty());
    EXPECT_GE(content.seconds.back(), 249 * 0.04 - 1.0);
}

TEST_F(Mp4FileTest, IsPlayableToWhereTheDiskWasFull) {
    const pid_t child = fork();
    if (child == 0) {
        // As many bytes as there is room for.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit room{60000, 60000};
        setrlimit(RLIMIT_FSIZE, &room);
        int status = 1;
        try {
            Mp4File file(path, 320, 180);
            std::mt19937 noise(1);
            for (int i = 0; i < 500; ++i) {
                Nv12Picture picture = grey(320, 180, 100);
                std::generate_n(picture.luma(), picture.luma_size(),
                                [&] { return static_cast<std::uint8_t>(noise()); });
                file.add(picture, 0.04 * i);
            }
        } catch (const std::runtime_error& failure) {
            status = std::string(failure.what()) == "cannot write the video: File too large" ? 0 : 2;
        }
        _exit(status);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_GE(read_mp4(path).seconds.size(), 1U);
}

TEST_F(Mp4FileTest, AFullDiskIsAnError) {
    EXPECT_THROW(
        {
            Mp4File file("/dev/full", 64, 48);
            for (int i = 0; i < 5; ++i)
                file.add(grey(64, 48, 50 * i), 0.04 * i);
            file.finish();
        },
        std::runtime_error);
}

} // namespace
