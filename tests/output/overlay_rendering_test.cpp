#include "app/app_main.h"
#include "output/overlay_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/output/picture.h"
#include "tests/output/rendering.h"

#include <gmock/gmock.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint32_t kRed = 0xFFFF0000;
constexpr uint32_t kGreen = 0xFF00FF00;
constexpr uint32_t kBlue = 0xFF0000FF;
constexpr uint32_t kYellow = 0xFFFFFF00;
constexpr uint32_t kWhite = 0xFFFFFFFF;

/** Analysed pictures of 800 x 450, so that the application's stream shows them one to one, with lines of 2 pixels. */
class OverlayRenderingTest : public core_fixture {
  protected:
    OverlayRenderingTest() { rendering::begin(800, 450); }
    ~OverlayRenderingTest() override { rendering::end(); }
};

/** An outline two pixels wide; the corner where the path starts has no joint. */
void outline(picture& onto, int x1, int y1, int x2, int y2, uint32_t color) {
    onto.fill(x1, y1 - 1, x2 + 1, y1 + 1, color);
    onto.fill(x2 - 1, y1 - 1, x2 + 1, y2 + 1, color);
    onto.fill(x1 - 1, y2 - 1, x2 + 1, y2 + 1, color);
    onto.fill(x1 - 1, y1, x1 + 1, y2 + 1, color);
}

void cross(picture& onto, int x, int y) {
    onto.fill(x - 1, y - 5, x + 1, y + 5, kWhite);
    onto.fill(x - 5, y - 1, x + 5, y + 1, kWhite);
}

bool is_empty(const picture& drawn) {
    return drawn.difference_to(picture(drawn.width(), drawn.height())).empty();
}

/** A finding that shows no text. */
one_find bare_finding(int x, int y, int w, int h) {
    return rendering::finding(x, y, w, h, 0, not_in_AOI, 0);
}

} // namespace

TEST_F(OverlayRenderingTest, SaysHowLongInWholeUnits) {
    const std::vector<std::pair<int32_t, std::string>> table = {
        {0, "0 seconds"},
        {1, "1 second"},
        {2, "2 seconds"},
        {59, "59 seconds"},
        {60, "1 minute"},
        {119, "1 minute"},
        {120, "2 minutes"},
        {179, "2 minutes"},
        {180, "3 minutes"},
        {3600, "60 minutes"},
        {-5, "-5 seconds"},
        {2147483647, "35791394 minutes"},
        {-2147483647 - 1, "-2147483648 seconds"},
    };
    for (const auto& [seconds, text] : table)
        EXPECT_EQ(OverlayManager::secondsToTimeText(seconds), text);
}

TEST_F(OverlayRenderingTest, DrawsOnStreamsWithARoleOnly) {
    SetOverlayStreamResolution(640, 360);
    SetAnonymizedStreamResolution(1280, 720);
    g_findings = {bare_finding(100, 100, 200, 100)};
    EXPECT_FALSE(is_empty(rendering::render({.width = 800, .height = 450})));
    EXPECT_FALSE(is_empty(rendering::render({.width = 640, .height = 360})));
    EXPECT_FALSE(is_empty(rendering::render({.width = 1280, .height = 720})));
    EXPECT_TRUE(is_empty(rendering::render({.width = 1920, .height = 1080})));
    EXPECT_TRUE(is_empty(rendering::render({.width = 450, .height = 800})));
}

TEST_F(OverlayRenderingTest, DrawsOnItsOwnOverlayOnly) {
    g_findings = {bare_finding(100, 100, 200, 100)};
    EXPECT_TRUE(is_empty(rendering::render({.width = 800, .height = 450}, rendering::kOverlay + 1)));
    EXPECT_TRUE(is_empty(rendering::render({.width = 800, .height = 450}, 0)));
}

TEST_F(OverlayRenderingTest, LeavesTheContextOfAStreamWithoutARoleAsItIs) {
    const picture drawn(1920, 1080);
    axoverlay_stream_data stream{1, 1, 1920, 1080, 0, FALSE, AXOVERLAY_STREAM_H264};
    OverlayManager::renderCallback(drawn.cairo(), rendering::kOverlay, &stream, AXOVERLAY_TOP_LEFT, 0, 0, 1920, 1080,
                                   &g_OverlayInfo);
    EXPECT_EQ(cairo_get_antialias(drawn.cairo()), CAIRO_ANTIALIAS_DEFAULT);
}

TEST_F(OverlayRenderingTest, DrawsNothingWithoutFindingsAndDoesNotClear) {
    const picture drawn(800, 450);
    picture expected(800, 450);
    cairo_set_source_rgb(drawn.cairo(), 0, 1, 0);
    cairo_paint(drawn.cairo());
    expected.fill(0, 0, 800, 450, kGreen);
    axoverlay_stream_data stream{1, 1, 800, 450, 0, FALSE, AXOVERLAY_STREAM_H264};
    OverlayManager::renderCallback(drawn.cairo(), rendering::kOverlay, &stream, AXOVERLAY_TOP_LEFT, 0, 0, 800, 450,
                                   &g_OverlayInfo);
    EXPECT_EQ(drawn.difference_to(expected), "");
}

TEST_F(OverlayRenderingTest, ChoosesLinesAndLettersByTheSmallerSide) {
    const struct {
        int width;
        int height;
        double line;
        double font;
    } table[] = {{1920, 1080, 5, 32}, {640, 360, 1, 16}, {1280, 720, 3, 21}, {720, 1280, 3, 21}, {3840, 2160, 10, 64},
                 {100, 40, 1, 16},    {534, 999, 2, 16}, {567, 567, 2, 17},  {800, 450, 2, 16},  {1600, 1200, 6, 36}};
    for (const auto& entry : table)
        for (const int rotation : {0, 90}) {
            SetOverlayStreamResolution(static_cast<uint32_t>(entry.width), static_cast<uint32_t>(entry.height));
            OverlayManager::clearUserRectangles();
            OverlayManager::addUserRectangle(1, 1, 5, 5, Red); // its line width stays set
            const picture drawn(entry.width, entry.height);
            axoverlay_stream_data stream{1, 1, entry.width, entry.height, rotation, FALSE, AXOVERLAY_STREAM_H264};
            OverlayManager::renderCallback(drawn.cairo(), rendering::kOverlay, &stream, AXOVERLAY_TOP_LEFT, 0, 0, 0, 0,
                                           &g_OverlayInfo);
            cairo_matrix_t font;
            cairo_get_font_matrix(drawn.cairo(), &font);
            EXPECT_EQ(font.xx, entry.font) << entry.width << "x" << entry.height;
            EXPECT_EQ(font.yy, entry.font);
            EXPECT_EQ(cairo_get_line_width(drawn.cairo()), entry.line) << entry.width << "x" << entry.height;
            EXPECT_EQ(cairo_get_antialias(drawn.cairo()), CAIRO_ANTIALIAS_BEST);
            cairo_font_face_t* face = cairo_get_font_face(drawn.cairo());
            EXPECT_STREQ(cairo_toy_font_face_get_family(face), "Arial");
            EXPECT_EQ(cairo_toy_font_face_get_slant(face), CAIRO_FONT_SLANT_NORMAL);
            EXPECT_EQ(cairo_toy_font_face_get_weight(face), CAIRO_FONT_WEIGHT_BOLD);
        }
}

TEST_F(OverlayRenderingTest, ShowsAFindingOutsideTheAreaAsOneGreenBoxWithAWhiteCross) {
    g_findings = {bare_finding(100, 80, 201, 101)};
    picture expected(800, 450);
    outline(expected, 100, 80, 301, 181, kGreen);
    cross(expected, 200, 130);
    EXPECT_EQ(rendering::render({.width = 800, .height = 450}).difference_to(expected), "");
}

TEST_F(OverlayRenderingTest, TellsTheFootingByColourAndOutlines) {
    const struct {
        footings footing;
        uint32_t color;
        std::vector<int> grown;
    } table[] = {{not_in_AOI, kGreen, {0}},
                 {in_AOI1_briefly, kYellow, {0}},
                 {in_AOI1_lengthily, kRed, {0}},
                 {in_AOI1_more_lengthily, kRed, {0, 4}},
                 {in_AOI1_most_lengthily, kRed, {0, 4, 8}}};
    for (const auto& [footing, color, grown] : table) {
        g_findings = {rendering::finding(100, 80, 200, 100, 0, footing, 7)};
        picture expected(800, 450);
        for (const int d : grown)
            outline(expected, 100 - d, 80 - d, 300 + d, 180 + d, color);
        cross(expected, 200, 130);
        // The dwell time begins below these rows.
        EXPECT_EQ(rendering::render({.width = 800, .height = 450}).difference_to(expected, 183), "") << footing;
    }
}

TEST_F(OverlayRenderingTest, HidesWhatIsInABoxOnTheAnonymisedStream) {
    rendering::begin(1600, 900); // scale just under one half
    SetAnonymizedStreamResolution(400, 400);
    g_findings = {bare_finding(800, 200, 200, 200)};
    // s = 399 / 899, offset = (1599 - 899) / 2 = 350: x = 450 s = 199.7, y = 88.8, w = h = 88.8, truncated.
    picture expected(400, 400);
    outline(expected, 199, 88, 287, 176, kGreen);
    for (int y = 88; y < 176; ++y)
        for (int x = 199; x < 287; ++x)
            expected.fill(x, y, x + 1, y + 1, (x / 4 + y / 4) % 2 == 0 ? kGreen : kWhite);
    cross(expected, 243, 132);
    EXPECT_EQ(rendering::render({.width = 400, .height = 400}).difference_to(expected), "");
}

TEST_F(OverlayRenderingTest, MapsBoxesByTheHeightsAndCentresThePicture) {
    // Lines of 2 pixels everywhere. s = (H' - 1) / 449, offset = (799 - (W' - 1) / s) / 2, W' and H' after rotation.
    const struct {
        int width;
        int height;
        int rotation;
        int mirrored;
        int box_x;
        int x1, y1, x2, y2;
        int cross_x, cross_y;
    } table[] = {
        // s = 1, offset 0.
        {800, 450, 0, 0, 100, 100, 80, 301, 181, 200, 130},
        {800, 450, 180, 0, 100, 100, 80, 301, 181, 200, 130},
        {800, 450, 45, 0, 100, 100, 80, 301, 181, 200, 130},
        {800, 450, 0, 1, 100, 498, 80, 699, 181, 599, 130},
        {800, 450, 180, 1, 100, 498, 80, 699, 181, 599, 130},
        {800, 450, 0, 2, 100, 100, 80, 301, 181, 200, 130}, // only 1 is mirrored
        {450, 800, 90, 0, 100, 100, 80, 301, 181, 200, 130},
        {450, 800, 90, 1, 100, 498, 80, 699, 181, 599, 130},
        {450, 800, 270, 0, 100, 100, 80, 301, 181, 200, 130},
        {450, 800, 270, 1, 100, 498, 80, 699, 181, 599, 130},
        // s = 1: offset 150, -100 and 100.5, where x = -0.5 becomes 0.
        {500, 450, 0, 0, 100, -50, 80, 151, 181, 50, 130},
        {500, 450, 0, 1, 100, 348, 80, 549, 181, 449, 130},
        {1000, 450, 0, 0, 100, 200, 80, 401, 181, 300, 130},
        {1000, 450, 0, 1, 100, 598, 80, 799, 181, 699, 130},
        {599, 450, 0, 0, 100, 0, 80, 201, 181, 100, 130},
        // s = 799 / 449 = 1.77951, offset 273.34: x = 65.23, y = 142.36, w = 357.68, h = 179.73.
        {450, 800, 0, 0, 310, 65, 142, 422, 321, 243, 231},
        {450, 800, 0, 1, 310, 27, 142, 384, 321, 206, 231},
        {800, 450, 90, 0, 310, 65, 142, 422, 321, 243, 231},
        {800, 450, 90, 1, 310, 27, 142, 384, 321, 206, 231},
        {800, 450, 270, 0, 310, 65, 142, 422, 321, 243, 231},
        {800, 450, 270, 1, 310, 27, 142, 384, 321, 206, 231},
    };
    for (const auto& entry : table) {
        SetOverlayStreamResolution(static_cast<uint32_t>(entry.width), static_cast<uint32_t>(entry.height));
        const rendering::stream stream{entry.width, entry.height, entry.rotation, entry.mirrored};
        const std::string what = std::to_string(entry.width) + "x" + std::to_string(entry.height) + " turned by " +
                                 std::to_string(entry.rotation) + " mirrored " + std::to_string(entry.mirrored);

        g_findings = {bare_finding(entry.box_x, 80, 201, 101)};
        const picture drawn = rendering::render(stream);
        picture expected(drawn.width(), drawn.height());
        outline(expected, entry.x1, entry.y1, entry.x2, entry.y2, kGreen);
        cross(expected, entry.cross_x, entry.cross_y);
        EXPECT_EQ(drawn.difference_to(expected), "") << what;

        g_findings.clear();
        OverlayManager::addUserRectangle(entry.box_x, 80, 201, 101, Blue);
        const picture with_user_rectangle = rendering::render(stream);
        OverlayManager::clearUserRectangles();
        picture expected_rectangle(drawn.width(), drawn.height());
        outline(expected_rectangle, entry.x1, entry.y1, entry.x2, entry.y2, kBlue);
        EXPECT_EQ(with_user_rectangle.difference_to(expected_rectangle), "") << what;
    }
}

TEST_F(OverlayRenderingTest, WritesTheLabelIntoTheBoxAndTheDwellTimeUnderIt) {
    const struct {
        int class_id;
        const char* label;
        footings footing;
        int seconds;
        const char* time;
        int shift;
        decltype(&OverlayManager::drawRectangle) draw;
        int32_t color;
    } table[] = {
        {0, "", not_in_AOI, 9, "", 0, OverlayManager::drawRectangle, Green},
        {2, "Car", not_in_AOI, 9, "", 0, OverlayManager::drawRectangle, Green},
        {-1, "", not_in_AOI, 9, "", 0, OverlayManager::drawRectangle, Green},
        {99, "Unknown", not_in_AOI, 9, "", 0, OverlayManager::drawRectangle, Green},
        {0, "", in_AOI1_briefly, 0, "0 seconds", 0, OverlayManager::drawRectangle, Yellow},
        {7, "Truck", in_AOI1_briefly, 1, "1 second", 0, OverlayManager::drawRectangle, Yellow},
        {5, "Bus", in_AOI1_lengthily, 59, "59 seconds", 0, OverlayManager::drawRectangle, Red},
        {2, "Car", in_AOI1_more_lengthily, 60, "1 minute", 2, OverlayManager::drawRectangle2, Red},
        {2, "Car", in_AOI1_most_lengthily, 120, "2 minutes", 4, OverlayManager::drawRectangle3, Red},
    };
    for (const auto& entry : table)
        for (const bool mirrored : {false, true}) {
            g_findings = {rendering::finding(100, 80, 201, 101, entry.class_id, entry.footing, entry.seconds)};
            const picture expected(800, 450);
            cairo_t* cairo = expected.cairo();
            cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
            cairo_select_font_face(cairo, "Arial", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
            cairo_set_font_size(cairo, 16);
            entry.draw(cairo, mirrored ? 498 : 100, 80, mirrored ? 699 : 301, 181, entry.color, 2, false);
            OverlayManager::drawCross(cairo, mirrored ? 599 : 200, 130, White, 2, 5);
            cairo_text_extents_t size;
            cairo_text_extents(cairo, entry.label, &size);
            OverlayManager::drawText(cairo, entry.label, mirrored ? 500 : 102, 80 + size.height + 2, White);
            cairo_text_extents(cairo, entry.time, &size);
            OverlayManager::drawText(cairo, entry.time, (mirrored ? 599 : 200) - size.width / 2,
                                     181 + size.height + 4 + entry.shift, White);
            EXPECT_EQ(rendering::render({.width = 800, .height = 450, .mirrored = mirrored}).difference_to(expected),
                      "")
                << entry.label << " " << entry.time << (mirrored ? " mirrored" : "");
        }
}

TEST_F(OverlayRenderingTest, DrawsLaterFindingsOverEarlierOnesAndUserRectanglesOverAll) {
    SetAnonymizedStreamResolution(800, 450);
    rendering::set_application_stream(1, 1);
    OverlayManager::addUserRectangle(10, 10, 380, 280, Blue);
    OverlayManager::addUserRectangle(200, 5, 20, 300, 99);
    g_findings = {bare_finding(100, 100, 100, 100), bare_finding(150, 150, 100, 100)};
    picture expected(800, 450);
    for (const int corner : {100, 150}) {
        outline(expected, corner, corner, corner + 100, corner + 100, kGreen);
        for (int y = corner; y < corner + 100; ++y)
            for (int x = corner; x < corner + 100; ++x)
                expected.fill(x, y, x + 1, y + 1, (x / 4 + y / 4) % 2 == 0 ? kGreen : kWhite);
        cross(expected, corner + 50, corner + 50);
    }
    outline(expected, 10, 10, 390, 290, kBlue);
    outline(expected, 200, 5, 220, 305, 0xFF000000);
    EXPECT_EQ(rendering::render({.width = 800, .height = 450}).difference_to(expected), "");
}

TEST_F(OverlayRenderingTest, DrawsTheListThatTheOverlayInformationNames) {
    t_findings_list others = {bare_finding(100, 80, 201, 101)};
    g_findings = {bare_finding(0, 0, 50, 50)};
    g_OverlayInfo.pFindings = &others;
    picture expected(800, 450);
    outline(expected, 100, 80, 301, 181, kGreen);
    cross(expected, 200, 130);
    EXPECT_EQ(rendering::render({.width = 800, .height = 450}).difference_to(expected), "");
}

TEST_F(OverlayRenderingTest, SaysNothingButForAColourOutsideThePalette) {
    g_findings = {rendering::finding(100, 80, 201, 101, 2, in_AOI1_most_lengthily, 5)};
    OverlayManager::addUserRectangle(1, 1, 2, 2, Red);
    EXPECT_THAT(log_of([] { rendering::render({.width = 800, .height = 450}); }), IsEmpty());
    OverlayManager::addUserRectangle(1, 1, 2, 2, 7);
    EXPECT_THAT(log_of([] { rendering::render({.width = 800, .height = 450}); }),
                ElementsAre("error|usePaletteColor: Unknown color index passed to OverlayManager::usePaletteColor. "
                            "Using Black."));
}

TEST_F(OverlayRenderingTest, SurvivesBoxesAndPicturesOfAnySize) {
    constexpr int kMax = std::numeric_limits<int>::max();
    constexpr int kMin = std::numeric_limits<int>::min();
    const std::vector<std::pair<int, int>> analysed = {{800, 450}, {0, 0}, {1, 1}, {1, 450}, {800, 1}, {kMin, kMax}};
    const std::vector<rendering::stream> streams = {{800, 450, 0, 0}, {800, 450, 90, 1}, {1, 1, 0, 1}, {0, 0, 0, 0}};
    for (const auto& [width, height] : analysed)
        for (const rendering::stream& stream : streams) {
            rendering::begin(width, height);
            SetAnonymizedStreamResolution(static_cast<uint32_t>(stream.width), static_cast<uint32_t>(stream.height));
            g_findings.clear();
            for (const int value : {0, 1, -1, kMax, kMin})
                g_findings.push_back(rendering::finding(value, value, -5, value, 2, in_AOI1_most_lengthily, value));
            g_findings.push_back(rendering::finding(0, 0, kMax, kMax, 2, in_AOI1_more_lengthily, 1));
            g_findings.push_back(rendering::finding(10, 10, -5, kMin, 2, not_in_AOI, 1));
            EXPECT_EQ(cairo_status(rendering::render(stream).cairo()), CAIRO_STATUS_SUCCESS);
        }
}

TEST_F(OverlayRenderingTest, ShowsWholeListsOnlyWhileThePassReplacesThem) {
    const t_findings_list few = {bare_finding(10, 10, 40, 40)};
    const t_findings_list many(20, bare_finding(100, 80, 201, 101));
    g_findings = few;
    const picture of_few = rendering::render({.width = 800, .height = 450});
    g_findings = many;
    const picture of_many = rendering::render({.width = 800, .height = 450});

    std::atomic<bool> stop{false};
    std::thread pass([&] {
        for (int i = 0; !stop; ++i) {
            t_findings_list next = i % 2 == 0 ? few : many;
            const std::lock_guard lock(g_FindingsMutex);
            g_findings.swap(next);
        }
    });
    std::thread web([&] {
        for (uint32_t i = 0; !stop; ++i) {
            SetOverlayStreamResolution(i, 720);
            SetAnonymizedStreamResolution(i, 360);
        }
    });
    for (int i = 0; i < 50; ++i) {
        const picture drawn = rendering::render({.width = 800, .height = 450});
        EXPECT_TRUE(drawn.difference_to(of_few).empty() || drawn.difference_to(of_many).empty());
    }
    stop = true;
    pass.join();
    web.join();
}
