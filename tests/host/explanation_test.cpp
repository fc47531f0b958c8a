#include "config/config_params.h"
#include "host/explanation.h"
#include "scene/area_of_interest.h"
#include "scene/detection_processing.h"
#include "scene/tracker.h"

#include <gtest/gtest.h>

namespace {

using console::explain;

constexpr int car = 2;
constexpr int person = 0;

t_Polygon square(int left, int top, int size) {
    return {{left, top}, {left + size, top}, {left + size, top + size}, {left, top + size}};
}

/** The area is 100 to 500 both ways; zone 1 is 200 to 300, zone 3 is 300 to 400 and off. */
class ExplanationTest : public testing::Test {
  protected:
    ExplanationTest() {
        g_ConfigParams.b_DetectCars = true;
        g_ConfigParams.b_DetectPersons = false;
        g_AreaofInterest.set_detection(1, square(100, 100, 400));
        g_AreaofInterest.set_exclusion(1, square(200, 200, 100));
        g_AreaofInterest.set_exclusion(3, square(300, 200, 100));
        g_AreaofInterest.set_exclusion_active(1, true);
        g_AreaofInterest.set_exclusion_active(2, false);
        g_AreaofInterest.set_exclusion_active(3, false);
    }

    /** The finding of one pass with that box. */
    static one_find found(const detection& box) {
        g_Tracker = {};
        g_Tracker.m_MaxDisappeared = 5;
        g_detections = {box};
        DetectionProcessing::monitor_AOI();
        return g_findings.at(0);
    }
};

TEST_F(ExplanationTest, SaysWhyAnObjectCountsOrDoesNot) {
    const struct {
        detection box;
        const char* reason;
    } cases[] = {
        {{120, 120, 20, 20, car, 0.9F}, "counts"},
        {{20, 20, 20, 20, car, 0.9F}, "outside"},
        {{120, 120, 20, 20, person, 0.9F}, "class off"},
        {{20, 20, 20, 20, person, 0.9F}, "class off"},
        {{210, 210, 20, 20, car, 0.9F}, "excluded by zone 1"},
        {{190, 210, 20, 20, car, 0.9F}, "counts"},
        {{290, 210, 40, 20, car, 0.9F}, "counts"},
    };
    for (const auto& [box, reason] : cases) {
        EXPECT_EQ(explain(found(box)).reason, reason) << box.X;
        EXPECT_EQ(explain(found(box)).unseen, 0);
    }
    g_AreaofInterest.set_exclusion_active(3, true);
    EXPECT_EQ(explain(found({290, 210, 40, 20, car, 0.9F})).reason, "excluded by zones 1 and 3");
}

TEST_F(ExplanationTest, CountsThePassesForWhichAnObjectIsOnlyRemembered) {
    found({120, 120, 20, 20, car, 0.9F});
    g_detections = {};
    for (int passes = 1; passes <= 3; ++passes) {
        DetectionProcessing::monitor_AOI();
        ASSERT_EQ(g_findings.size(), 1U);
        EXPECT_EQ(explain(g_findings[0]).unseen, passes);
        EXPECT_EQ(explain(g_findings[0]).reason, "counts");
    }
}

TEST(FootingNames, AreTheFiveOfTheOverlays) {
    EXPECT_STREQ(console::name_of(not_in_AOI), "outside");
    EXPECT_STREQ(console::name_of(in_AOI1_briefly), "briefly");
    EXPECT_STREQ(console::name_of(in_AOI1_lengthily), "lengthily");
    EXPECT_STREQ(console::name_of(in_AOI1_more_lengthily), "more lengthily");
    EXPECT_STREQ(console::name_of(in_AOI1_most_lengthily), "most lengthily");
}

} // namespace
