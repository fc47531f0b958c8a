#include "config/config_params.h"
#include "detection/location_controller_larod.h"
#include "output/event_manager.h"
#include "scene/area_of_interest.h"
#include "scene/clock.h"
#include "scene/detection_processing.h"
#include "scene/tracker.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/recording_axevent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int kPerson = 0;
constexpr int kCar = 2;

timeval g_now; // what the dwell clock shows

class DetectionProcessingTest : public core_fixture {
  protected:
    DetectionProcessingTest() {
        g_ConfigParams = {};
        g_ConfigParams.b_DetectPersons = true;
        g_ConfigParams.b_DetectCars = true;
        g_ConfigParams.b_Alert1 = true;
        g_ConfigParams.b_Alert2 = true;
        g_ConfigParams.b_Alert3 = true;
        g_ConfigParams.i_Alert1ThreshSeconds = 5;
        g_ConfigParams.i_Alert2ThreshSeconds = 10;
        g_ConfigParams.i_Alert3ThreshSeconds = 15;
        g_ConfigParams.i_MinNumberOfPeopleForTrigger = 1;
        g_Tracker.m_Objects.clear();
        g_Tracker.m_Disappeared.clear();
        g_Tracker.init(0);
        g_AreaofInterest = {};
        g_AreaofInterest.set_detection(1, {{0, 0}, {1000, 0}, {1000, 1000}, {0, 1000}});
        g_findings.clear();
        g_detections.clear();
        g_Id2Time.clear();
        g_now = {1000, 0};
        set_dwell_clock([] { return g_now; });
        m_events = std::make_unique<EventManager>();
        for (const char* alert : {kFirstAlert, kSecondAlert, kThirdAlert})
            m_events->addEvent(alert);
        g_EventManager = m_events.get();
        forget_log();
    }

    ~DetectionProcessingTest() override {
        g_EventManager = nullptr;
        set_dwell_clock(nullptr);
    }

    /** Everything but the detector, for detections of this pass. */
    static void pass(const t_detection_list& detections) {
        g_detections = detections;
        DetectionProcessing::monitor_AOI();
        DetectionProcessing::examine_and_update_findings();
        DetectionProcessing::manage_events();
    }

    /** The alerts that the service has been told of since the last call: "+1" for a start of the first. */
    std::vector<std::string> alerts() {
        std::vector<std::string> news;
        const std::vector<recording_axevent::sent_event> sent = recording_axevent::sent();
        for (; m_seen < sent.size(); ++m_seen)
            news.push_back((sent[m_seen].keys.at(0).value == "true" ? "+" : "-") +
                           std::to_string(sent[m_seen].declaration));
        return news;
    }

    /** Findings of these footings, and the alerts that follow. */
    std::vector<std::string> alerts_for(const std::vector<footings>& stood) {
        g_findings.clear();
        for (const footings footing : stood)
            g_findings.push_back({{}, {}, static_cast<int>(g_findings.size()), footing, 0, unknown});
        DetectionProcessing::manage_events();
        return alerts();
    }

    std::unique_ptr<EventManager> m_events;
    size_t m_seen = 0;
};

detection box(int x, int y, int class_id = kCar) {
    return {x, y, 10, 10, class_id, 0.9F};
}

// ---- get_detections

TEST_F(DetectionProcessingTest, TakesOverTheDetectionsOfThePass) {
    std::array<float, 48> locations{};
    std::array<float, 12> classes{};
    std::array<float, 12> scores{};
    const float first[] = {0.25F, 0.5F, 0.75F, 1.0F};
    std::copy(std::begin(first), std::end(first), locations.begin());
    classes[0] = kCar;
    scores[0] = 0.9F;
    classes[1] = 5; // a bus, which nobody wants
    scores[1] = 0.9F;
    g_LocationController.m_OutputLocations = locations.data();
    g_LocationController.m_OutputClasses = classes.data();
    g_LocationController.m_OutputScores = scores.data();
    g_LocationController.m_StreamWidth = 1280;
    g_LocationController.m_StreamHeight = 720;
    g_LocationController.set_sensitivity(0.5F);

    g_detections = {box(1, 1), box(2, 2), box(3, 3)};
    DetectionProcessing::get_detections();
    ASSERT_EQ(g_detections.size(), 1U);
    EXPECT_EQ(g_detections[0].X, 640);
    EXPECT_EQ(g_detections[0].Y, 180);
    EXPECT_EQ(g_detections[0].ClassId, kCar);

    scores[0] = 0.5F;
    DetectionProcessing::get_detections();
    EXPECT_THAT(g_detections, IsEmpty());
    g_LocationController.m_OutputLocations = nullptr;
    g_LocationController.m_OutputClasses = nullptr;
    g_LocationController.m_OutputScores = nullptr;
}

// ---- monitor_AOI

TEST_F(DetectionProcessingTest, MakesAFindingOfEveryTrackedObjectInAscendingId) {
    g_findings.resize(7);
    g_detections = {{2000, 10, 21, -3, kCar, 0.7F}, {10, 20, 7, 9, kPerson, 0.8F}};
    DetectionProcessing::monitor_AOI();
    ASSERT_EQ(g_findings.size(), 2U);
    EXPECT_EQ(g_findings[0].id, 0);
    EXPECT_EQ(g_findings[0].centroid, t_one_centroid(2010, 9));
    EXPECT_EQ(g_findings[0].detect.W, 21);
    EXPECT_EQ(g_findings[0].footing, not_in_AOI);
    EXPECT_EQ(g_findings[1].id, 1);
    EXPECT_EQ(g_findings[1].centroid, t_one_centroid(13, 24));
    EXPECT_EQ(g_findings[1].detect.ClassId, kPerson);
    EXPECT_EQ(g_findings[1].detect.Confidence, 0.8F);
    EXPECT_EQ(g_findings[1].footing, in_AOI1_briefly);
    EXPECT_EQ(g_findings[1].seconds, 0);
    EXPECT_EQ(g_findings[1].entrance, unknown);
}

TEST_F(DetectionProcessingTest, KeepsAnObjectThatIsMissingAsAFinding) {
    g_Tracker.set_max_disappeared(1);
    g_detections = {box(10, 10)};
    DetectionProcessing::monitor_AOI();
    g_detections.clear();
    DetectionProcessing::monitor_AOI();
    ASSERT_EQ(g_findings.size(), 1U);
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
    DetectionProcessing::monitor_AOI();
    EXPECT_THAT(g_findings, IsEmpty());
}

TEST_F(DetectionProcessingTest, PlacesAnObjectByItsCentroid) {
    g_detections = {{990, 10, 19, 10, kCar, 0.9F}, {990, 500, 20, 10, kCar, 0.9F}}; // centroids at x 999 and 1000
    DetectionProcessing::monitor_AOI();
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
    EXPECT_EQ(g_findings[1].footing, not_in_AOI);
}

struct exclusion_case {
    const char* what;
    t_Polygon zone1;
    t_Polygon zone2;
    bool active1;
    bool active2;
    footings footing;
};

TEST_F(DetectionProcessingTest, LeavesOutABoxWhoseCornersAreAllExcluded) {
    // The box is (100, 100) to (200, 200).
    const t_Polygon whole = {{50, 50}, {250, 50}, {250, 250}, {50, 250}};
    const t_Polygon left = {{50, 50}, {150, 50}, {150, 250}, {50, 250}};
    const t_Polygon right = {{150, 50}, {250, 50}, {250, 250}, {150, 250}};
    const t_Polygon middle = {{120, 120}, {180, 120}, {180, 180}, {120, 180}};
    const t_Polygon without_last_corner = {{50, 50}, {250, 50}, {250, 150}, {150, 150}, {150, 250}, {50, 250}};
    const exclusion_case cases[] = {
        {"no zone", {}, {}, true, true, in_AOI1_briefly},
        {"one around it", whole, {}, true, false, not_in_AOI},
        {"one around it, switched off", whole, {}, false, true, in_AOI1_briefly},
        {"two side by side", left, right, true, true, not_in_AOI},
        {"two, one switched off", left, right, true, false, in_AOI1_briefly},
        {"two corners in it", left, {}, true, false, in_AOI1_briefly},
        {"three corners in it", without_last_corner, {}, true, false, in_AOI1_briefly},
        {"the centroid in it", middle, {}, true, false, in_AOI1_briefly},
    };
    for (const exclusion_case& c : cases) {
        SCOPED_TRACE(c.what);
        g_AreaofInterest.set_exclusion(1, c.zone1);
        g_AreaofInterest.set_exclusion(2, c.zone2);
        g_AreaofInterest.set_exclusion_active(1, c.active1);
        g_AreaofInterest.set_exclusion_active(2, c.active2);
        g_detections = {{100, 100, 100, 100, kCar, 0.9F}};
        DetectionProcessing::monitor_AOI();
        EXPECT_EQ(g_findings.at(0).footing, c.footing);
    }
}

TEST_F(DetectionProcessingTest, LooksAtEachOfTheFourCorners) {
    const std::array<std::pair<int, int>, 4> corners = {{{100, 100}, {200, 100}, {100, 200}, {200, 200}}};
    for (size_t left_out = 0; left_out < corners.size(); ++left_out) {
        int zone = 0;
        for (size_t i = 0; i < corners.size(); ++i) {
            const auto [x, y] = corners.at(i);
            if (i == left_out)
                continue;
            g_AreaofInterest.set_exclusion(++zone, {{x - 5, y - 5}, {x + 5, y - 5}, {x + 5, y + 5}, {x - 5, y + 5}});
            g_AreaofInterest.set_exclusion_active(zone, true);
        }
        g_detections = {{100, 100, 100, 100, kCar, 0.9F}};
        DetectionProcessing::monitor_AOI();
        EXPECT_EQ(g_findings.at(0).footing, in_AOI1_briefly) << "corner " << left_out;
    }
}

TEST_F(DetectionProcessingTest, LeavesOutClassesThatNobodyWants) {
    g_ConfigParams.b_DetectCars = false;
    g_detections = {box(10, 10, kCar), box(500, 500, kPerson), box(800, 800, 9)};
    DetectionProcessing::monitor_AOI();
    EXPECT_EQ(g_findings[0].footing, not_in_AOI);
    EXPECT_EQ(g_findings[1].footing, in_AOI1_briefly);
    EXPECT_EQ(g_findings[2].footing, not_in_AOI);
}

TEST_F(DetectionProcessingTest, SurvivesBoxesThatWrap) {
    g_AreaofInterest.set_exclusion(1, {{INT_MIN, INT_MIN}, {INT_MAX, 0}, {5, INT_MAX}, {3, 3}});
    g_AreaofInterest.set_exclusion_active(1, true);
    pass({{INT_MAX, INT_MAX, INT_MAX, INT_MAX, kCar, 0.9F}, {INT_MIN, INT_MIN, INT_MIN, INT_MIN, kCar, 0.9F}});
    pass({{INT_MIN, INT_MAX, INT_MAX, INT_MIN, kCar, 0.9F}});
    EXPECT_EQ(g_findings.size(), 1U);
}

// ---- examine_and_update_findings

TEST_F(DetectionProcessingTest, NotesWhenAnObjectIsFirstSeenInTheArea) {
    g_now = {1000, 250000};
    pass({box(10, 10), box(2000, 10)});
    ASSERT_EQ(g_Id2Time.size(), 1U);
    EXPECT_EQ(g_Id2Time.at(0).tv_sec, 1000);
    EXPECT_EQ(g_Id2Time.at(0).tv_usec, 250000);
    EXPECT_EQ(g_findings[0].seconds, 0);
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
}

TEST_F(DetectionProcessingTest, CountsDifferencesOfWholeSeconds) {
    g_now = {1000, 999999};
    pass({box(10, 10)});
    g_now = {1001, 0};
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].seconds, 1);
    EXPECT_EQ(g_Id2Time.at(0).tv_sec, 1000);
}

TEST_F(DetectionProcessingTest, MovesUpALevelAtEachThreshold) {
    struct {
        int seconds;
        footings footing;
    } const cases[] = {{0, in_AOI1_briefly},         {4, in_AOI1_briefly},           {5, in_AOI1_lengthily},
                       {9, in_AOI1_lengthily},       {10, in_AOI1_more_lengthily},   {14, in_AOI1_more_lengthily},
                       {15, in_AOI1_most_lengthily}, {1000, in_AOI1_most_lengthily}, {-1, in_AOI1_briefly}};
    pass({box(10, 10)});
    for (const auto& c : cases) {
        g_now.tv_sec = 1000 + c.seconds;
        pass({box(10, 10)});
        EXPECT_EQ(g_findings[0].seconds, c.seconds);
        EXPECT_EQ(g_findings[0].footing, c.footing) << c.seconds;
    }
}

TEST_F(DetectionProcessingTest, ComparesThresholdsInTheirOrderWhateverTheyAre) {
    pass({box(10, 10)});
    g_ConfigParams.i_Alert1ThreshSeconds = 0;
    g_ConfigParams.i_Alert2ThreshSeconds = -5;
    g_ConfigParams.i_Alert3ThreshSeconds = 3;
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].footing, in_AOI1_more_lengthily);
    g_ConfigParams.i_Alert1ThreshSeconds = 20;
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
}

TEST_F(DetectionProcessingTest, CutsTheSecondsToThirtyTwoBits) {
    pass({box(10, 10)});
    g_now.tv_sec = 1000 + (time_t{1} << 32) + 7;
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].seconds, 7);
    g_now.tv_sec = 1000 + (time_t{1} << 31);
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].seconds, INT_MIN);
    g_Id2Time.at(0).tv_sec = std::numeric_limits<time_t>::min();
    g_now.tv_sec = std::numeric_limits<time_t>::max();
    pass({box(10, 10)});
    EXPECT_EQ(g_findings[0].seconds, -1);
}

TEST_F(DetectionProcessingTest, StartsAgainAfterOnePassOutside) {
    pass({box(985, 10), box(500, 500)});
    g_now.tv_sec += 7;
    pass({box(1005, 10), box(500, 500)});
    EXPECT_EQ(g_findings[0].footing, not_in_AOI);
    EXPECT_EQ(g_findings[0].seconds, 0);
    EXPECT_EQ(g_Id2Time.count(0), 0U);
    pass({box(985, 10), box(500, 500)});
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
    EXPECT_EQ(g_findings[0].seconds, 0);
    EXPECT_EQ(g_findings[1].seconds, 7);
}

TEST_F(DetectionProcessingTest, LeavesAFindingOfAnUnwantedClassAsItStands) {
    g_ConfigParams.b_DetectCars = false;
    g_findings = {{{}, box(10, 10), 4, in_AOI1_briefly, 0, unknown}, {{}, box(20, 20), 5, in_AOI1_briefly, 3, unknown}};
    g_Id2Time[5] = {1, 0};
    DetectionProcessing::examine_and_update_findings();
    EXPECT_EQ(g_findings[0].footing, in_AOI1_briefly);
    EXPECT_EQ(g_findings[1].seconds, 3);
    EXPECT_EQ(g_Id2Time.count(4), 0U);
    EXPECT_EQ(g_Id2Time.count(5), 1U);
}

TEST_F(DetectionProcessingTest, KeepsTheEntryOfAnObjectThatVanishesWhileOthersStay) {
    pass({box(10, 10), box(500, 500)});
    pass({box(500, 500)});
    EXPECT_EQ(g_findings.size(), 1U);
    EXPECT_EQ(g_Id2Time.size(), 2U);
}

// ---- manage_events

TEST_F(DetectionProcessingTest, RaisesTheAlertsOneAfterAnotherAndLowersThemAtTheEnd) {
    for (int second = 0; second < 20; ++second) {
        g_now.tv_sec = 1000 + second;
        pass({box(10, 10, kPerson)});
        const std::vector<std::string> expected = second == 5    ? std::vector<std::string>{"+1"}
                                                  : second == 10 ? std::vector<std::string>{"+2"}
                                                  : second == 15 ? std::vector<std::string>{"+3"}
                                                                 : std::vector<std::string>{};
        EXPECT_EQ(alerts(), expected) << second;
    }
    pass({});
    EXPECT_THAT(alerts(), ElementsAre("-1", "-2", "-3"));
    EXPECT_THAT(g_Id2Time, IsEmpty());
}

TEST_F(DetectionProcessingTest, LowersTheAlertsWhenTheObjectStandsOutside) {
    pass({box(985, 10)});
    g_now.tv_sec += 15;
    pass({box(985, 10)});
    EXPECT_THAT(alerts(), ElementsAre("+3"));
    pass({box(1005, 10)});
    EXPECT_EQ(g_findings.size(), 1U);
    EXPECT_THAT(alerts(), ElementsAre("-3"));
    EXPECT_THAT(g_Id2Time, IsEmpty());
}

TEST_F(DetectionProcessingTest, DoesNotStartALowerAlertBesideAHigherOne) {
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), ElementsAre("+3"));
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), IsEmpty());
    EXPECT_THAT(alerts_for({in_AOI1_more_lengthily}), ElementsAre("+2", "-3"));
    EXPECT_THAT(alerts_for({in_AOI1_lengthily}), ElementsAre("+1", "-2"));
    EXPECT_THAT(alerts_for({in_AOI1_briefly}), ElementsAre("-1"));
}

TEST_F(DetectionProcessingTest, RaisesNothingForWhoIsThereBriefly) {
    EXPECT_THAT(alerts_for({in_AOI1_briefly, in_AOI1_briefly, not_in_AOI}), IsEmpty());
}

TEST_F(DetectionProcessingTest, NeedsTheMinimumNumberOfObjects) {
    g_ConfigParams.i_MinNumberOfPeopleForTrigger = 2;
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), IsEmpty());
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily, in_AOI1_lengthily}), ElementsAre("+1"));
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily, in_AOI1_more_lengthily}), ElementsAre("+2"));
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily, in_AOI1_most_lengthily}), ElementsAre("+3"));
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily, in_AOI1_briefly}), ElementsAre("-3", "-2", "-1"));
}

TEST_F(DetectionProcessingTest, StartsAndStopsAnAlertAboveADisabledOneInOnePass) {
    g_ConfigParams.b_Alert1 = false;
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), ElementsAre("+3", "-3"));
    g_ConfigParams.b_Alert1 = true;
    g_ConfigParams.b_Alert2 = false;
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), ElementsAre("+3", "-3"));
}

TEST_F(DetectionProcessingTest, EndsEarlyOnlyWhenNothingQualifies) {
    // With nobody needed, the third alert qualifies in an empty area: the map stays and nothing is stopped.
    g_ConfigParams.i_MinNumberOfPeopleForTrigger = 0;
    g_Id2Time[3] = {1, 0};
    EXPECT_THAT(alerts_for({}), ElementsAre("+3"));
    EXPECT_EQ(g_Id2Time.size(), 1U);
    // With all alerts off nothing qualifies.
    g_ConfigParams.b_Alert1 = g_ConfigParams.b_Alert2 = g_ConfigParams.b_Alert3 = false;
    EXPECT_THAT(alerts_for({not_in_AOI}), ElementsAre("-3"));
    EXPECT_THAT(g_Id2Time, IsEmpty());
}

TEST_F(DetectionProcessingTest, SaysNothingOfItsOwn) {
    forget_log();
    pass({box(10, 10)});
    g_now.tv_sec += 3;
    pass({box(10, 10)});
    pass({});
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(DetectionProcessingTest, WorksWithoutAnEventManager) {
    g_EventManager = nullptr;
    g_Id2Time[3] = {1, 0};
    EXPECT_THAT(alerts_for({in_AOI1_most_lengthily}), IsEmpty());
    EXPECT_THAT(alerts_for({}), IsEmpty());
    EXPECT_THAT(g_Id2Time, IsEmpty());
}

/** Which alerts are up, by the rules as a table would give them; returns what changes, in order. */
std::vector<std::string> naive_alerts(std::set<int>& up, const std::vector<footings>& stood, int min, bool on1,
                                      bool on2, bool on3) {
    std::vector<std::string> changes;
    const auto start = [&](int level) {
        if (up.insert(level).second)
            changes.push_back("+" + std::to_string(level));
    };
    const auto stop = [&](std::initializer_list<int> levels) {
        for (const int level : levels)
            if (up.erase(level) == 1)
                changes.push_back("-" + std::to_string(level));
    };
    int c1 = 0;
    int c2 = 0;
    int c3 = 0;
    int c4 = 0;
    for (const footings footing : stood) {
        c1 += footing == in_AOI1_briefly;
        c2 += footing == in_AOI1_lengthily;
        c3 += footing == in_AOI1_more_lengthily;
        c4 += footing == in_AOI1_most_lengthily;
    }
    if (on3 && c4 >= min)
        start(3);
    else if (on2 && c3 + c4 >= min)
        start(2);
    else if (on1 && c2 + c3 + c4 >= min)
        start(1);
    else if (c1 + c2 + c3 + c4 == 0) {
        stop({1, 2, 3});
        return changes;
    }
    if (c2 + c3 + c4 < min)
        stop({3, 2, 1});
    else if (c3 + c4 < min)
        stop({3, 2});
    else if (c4 < min)
        stop({3});
    if (!on1)
        stop({3, 2, 1});
    else if (!on2)
        stop({3, 2});
    else if (!on3)
        stop({3});
    return changes;
}

TEST_F(DetectionProcessingTest, AgreesWithTheRulesOnRandomFindingsAndSettings) {
    size_t changes = 0;
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto between = [&random](int low, int high) {
            return std::uniform_int_distribution<int>(low, high)(random);
        };
        std::set<int> up = {};
        alerts_for({}); // with the settings of the last seed
        g_ConfigParams.b_Alert1 = g_ConfigParams.b_Alert2 = g_ConfigParams.b_Alert3 = false;
        alerts_for({}); // everything is down now
        for (int turn = 0; turn < 100; ++turn) {
            SCOPED_TRACE("turn " + std::to_string(turn));
            if (between(0, 4) == 0) {
                g_ConfigParams.i_MinNumberOfPeopleForTrigger = between(-1, 4);
                g_ConfigParams.b_Alert1 = between(0, 3) != 0;
                g_ConfigParams.b_Alert2 = between(0, 3) != 0;
                g_ConfigParams.b_Alert3 = between(0, 3) != 0;
            }
            std::vector<footings> stood(static_cast<size_t>(between(0, 6)));
            const int highest = between(0, 4);
            for (footings& footing : stood)
                footing = static_cast<footings>(between(0, highest));
            const std::vector<std::string> expected =
                naive_alerts(up, stood, g_ConfigParams.i_MinNumberOfPeopleForTrigger, g_ConfigParams.b_Alert1,
                             g_ConfigParams.b_Alert2, g_ConfigParams.b_Alert3);
            ASSERT_EQ(alerts_for(stood), expected);
            changes += expected.size();
            ASSERT_EQ(m_events->isEventStarted(kFirstAlert), up.count(1) == 1);
            ASSERT_EQ(m_events->isEventStarted(kSecondAlert), up.count(2) == 1);
            ASSERT_EQ(m_events->isEventStarted(kThirdAlert), up.count(3) == 1);
        }
    }
    EXPECT_GT(changes, 500U);
}

TEST_F(DetectionProcessingTest, ShowsReadersCompleteListsOnly) {
    t_detection_list crowd;
    for (int i = 0; i < 12; ++i)
        crowd.push_back(box(70 * i, 10));
    pass(crowd);
    g_now.tv_sec += 20;
    std::atomic<bool> done{false};
    std::atomic<long> broken{0};
    std::thread viewer([&] {
        do {
            t_findings_list seen;
            {
                const std::lock_guard lock(g_FindingsMutex);
                seen = g_findings;
            }
            // The measured and the unmeasured list are both whole; nothing between them is.
            const bool whole = seen.size() == 12 && std::all_of(seen.begin(), seen.end(), [&](const one_find& find) {
                                   return find.seconds == seen.front().seconds && find.footing == seen.front().footing;
                               });
            broken += whole ? 0 : 1;
        } while (!done);
    });
    for (int i = 0; i < 500; ++i)
        pass(crowd);
    done = true;
    viewer.join();
    EXPECT_EQ(broken, 0);
}

} // namespace
