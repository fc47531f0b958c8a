#include "platform/vdostream/reader.h"
#include "tests/platform/vdostream/test_video.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace {

TEST(RegistryTest, TakesAFileInSharedMemoryForAFileAndADeviceThatIsNotThereForADevice) {
    const std::string path = "/dev/shm/korvex-registry-test-" + std::to_string(getpid()) + ".avi";
    if (!std::filesystem::is_directory("/dev/shm")) {
        GTEST_SKIP() << "there is no /dev/shm";
    }
    test_video::write_video({.path = path});
    std::string why;
    const auto file = vdostream::make_reader(path);
    EXPECT_TRUE(test_video::opens(*file, why)) << why;
    EXPECT_FALSE(file->is_live());
    std::filesystem::remove(path);
    EXPECT_TRUE(vdostream::make_reader("/dev/korvex-no-such-camera")->is_live());
    EXPECT_FALSE(vdostream::make_reader("/tmp/korvex-no-such-file.avi")->is_live());
}

} // namespace
