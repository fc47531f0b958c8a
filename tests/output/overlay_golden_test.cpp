#include "output/overlay_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/output/picture.h"
#include "tests/output/rendering.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

/*
 * Whole pictures, compared pixel by pixel with approved ones. After a change of the drawing that is wanted, run this
 * program with KORVEX_APPROVE=1 in the environment and look at what has changed under golden/.
 *
 * The letters come from Debian's fonts-liberation through golden/fonts.conf, whatever else the machine has.
 */
namespace {

const std::string kFolder = KORVEX_GOLDEN_FOLDER;

struct golden_case {
    const char* name;
    rendering::stream stream;
};

void PrintTo(const golden_case& which, std::ostream* stream) {
    *stream << which.name;
}

const golden_case kCases[] = {
    {"application_800x450", {800, 450}},
    {"overlay_1280x720", {1280, 720}},
    {"overlay_1280x720_mirrored", {1280, 720, 0, 1}},
    {"overlay_1280x720_turned_90", {1280, 720, 90, 0}},
    {"overlay_1280x720_turned_90_mirrored", {1280, 720, 90, 1}},
    {"overlay_1280x720_turned_180", {1280, 720, 180, 0}},
    {"overlay_1280x720_turned_180_mirrored", {1280, 720, 180, 1}},
    {"overlay_1280x720_turned_270", {1280, 720, 270, 0}},
    {"overlay_1280x720_turned_270_mirrored", {1280, 720, 270, 1}},
    {"anonymised_640x360", {640, 360}},
    {"anonymised_640x360_mirrored", {640, 360, 0, 1}},
    {"anonymised_640x360_turned_90", {640, 360, 90, 0}},
    {"anonymised_640x360_turned_270_mirrored", {640, 360, 270, 1}},
};

class OverlayGoldenTest : public core_fixture, public testing::WithParamInterface<golden_case> {
  protected:
    static void SetUpTestSuite() { setenv("FONTCONFIG_FILE", (kFolder + "/fonts.conf").c_str(), 1); }

    OverlayGoldenTest() {
        const rendering::stream& stream = GetParam().stream;
        // A turned stream goes with a turned analysis.
        if (stream.rotation == 90 || stream.rotation == 270)
            rendering::begin(540, 960);
        else
            rendering::begin(960, 540);
        SetOverlayStreamResolution(1280, 720);
        SetAnonymizedStreamResolution(640, 360);
        if (stream.rotation == 90 || stream.rotation == 270)
            g_findings = {
                rendering::finding(30, 60, 130, 170, 0, not_in_AOI, 0),
                rendering::finding(320, 40, 171, 141, 7, not_in_AOI, 0),
                rendering::finding(60, 330, 150, 111, 2, in_AOI1_briefly, 1),
                rendering::finding(340, 300, 141, 170, 1, in_AOI1_lengthily, 59),
                rendering::finding(60, 560, 180, 120, 2, in_AOI1_more_lengthily, 119),
                rendering::finding(320, 600, 170, 140, 5, in_AOI1_most_lengthily, 179),
                rendering::finding(470, 800, 140, 110, 2, in_AOI1_briefly, 4), // over the edge
            };
        else
            g_findings = {
                rendering::finding(60, 40, 90, 190, 0, not_in_AOI, 0),
                rendering::finding(230, 60, 171, 121, 7, not_in_AOI, 0),
                rendering::finding(470, 50, 150, 111, 2, in_AOI1_briefly, 1),
                rendering::finding(700, 40, 111, 170, 1, in_AOI1_lengthily, 59),
                rendering::finding(80, 320, 210, 120, 2, in_AOI1_more_lengthily, 119),
                rendering::finding(400, 300, 230, 150, 5, in_AOI1_most_lengthily, 179),
                rendering::finding(880, 330, 140, 110, 2, in_AOI1_briefly, 4), // over the edge
            };
        OverlayManager::addUserRectangle(360, 20, 60, 240, Orange);
        OverlayManager::addUserRectangle(690, 300, 120, 150, Blue);
    }
    ~OverlayGoldenTest() override { rendering::end(); }
};

} // namespace

TEST_P(OverlayGoldenTest, IsTheApprovedPicture) {
    const std::string approved_file = kFolder + "/" + GetParam().name + ".png";
    const picture drawn = rendering::render(GetParam().stream);
    if (getenv("KORVEX_APPROVE") != nullptr) {
        ASSERT_TRUE(drawn.save(approved_file));
    }
    const std::string difference = drawn.difference_to(picture(approved_file));
    if (difference.empty())
        return;
    const std::string seen_file =
        (std::filesystem::temp_directory_path() / (std::string(GetParam().name) + "_drawn.png")).string();
    drawn.save(seen_file);
    FAIL() << difference << "\nApproved: " << approved_file << "\nDrawn: " << seen_file;
}

INSTANTIATE_TEST_SUITE_P(pictures, OverlayGoldenTest, testing::ValuesIn(kCases),
                         [](const auto& which) { return std::string(which.param.name); });
