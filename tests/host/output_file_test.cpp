#include "host/output_file.h"
#include "tests/host/runner_fixture.h"

namespace {

namespace fs = std::filesystem;
using console::open_output;
using console::RecordingFile;

using OutputFile = RunnerTest;

TEST_F(OutputFile, IsMadeAsItsUserMakesFilesWhateverTheOthersAreMadeLike) {
    const mode_t before = umask(077);
    open_output(path("lines"), 022);
    EXPECT_EQ(umask(before), 077U);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path("lines")).permissions()), 0644U);
}

TEST_F(OutputFile, IsEmptiedWhenItIsThere) {
    open_output(file("lines", "old"), 022);
    EXPECT_EQ(console::contents_of(path("lines")), "");
}

TEST_F(OutputFile, ThatCannotBeMadeIsRefused) {
    EXPECT_EQ(refusal_of([&] { open_output(path("none/lines"), 022); }),
              "\"" + path("none/lines") + "\" cannot be written.");
}

TEST_F(OutputFile, OfARecordingThatNeverBeganGoes) {
    {
        const RecordingFile recording(path("video.mp4"), 022);
        EXPECT_TRUE(fs::exists(path("video.mp4")));
    }
    EXPECT_FALSE(fs::exists(path("video.mp4")));
}

TEST_F(OutputFile, OfARecordingThatBeganStays) {
    {
        const RecordingFile recording(path("video.mp4"), 022);
        file("video.mp4", "pictures");
    }
    EXPECT_EQ(console::contents_of(path("video.mp4")), "pictures");
}

TEST_F(OutputFile, OfAnOlderRecordingIsLeftAlone) {
    { const RecordingFile recording(file("video.mp4"), 022); }
    EXPECT_TRUE(fs::exists(path("video.mp4")));
    const RecordingFile none("", 022);
}

} // namespace
