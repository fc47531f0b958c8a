#include "base/logger.h"
#include "detection/location_controller_larod.h"
#include "tests/doubles/core_fixture.h"

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kCar = 2;
constexpr float kBus = 5;
constexpr float kTruck = 7;

/** Twelve raw results, and one more that must not be looked at. */
struct raw_results {
    std::array<float, size_t{13} * 4> locations{};
    std::array<float, 13> classes{};
    std::array<float, 13> scores{};

    void set(size_t row, std::array<float, 4> box, float class_id, float score) {
        std::copy(box.begin(), box.end(), locations.begin() + static_cast<std::ptrdiff_t>(4 * row));
        classes.at(row) = class_id;
        scores.at(row) = score;
    }
};

/** For comparing what may not be a number. */
template <size_t size>
std::array<uint32_t, size> bits_of(const std::array<float, size>& values) {
    return std::bit_cast<std::array<uint32_t, size>>(values);
}

class OverlapSuppressionTest : public core_fixture {
  protected:
    OverlapSuppressionTest() {
        detector.m_StreamWidth = 1000;
        detector.m_StreamHeight = 1000;
        detector.m_OutputLocations = raw.locations.data();
        detector.m_OutputClasses = raw.classes.data();
        detector.m_OutputScores = raw.scores.data();
    }

    float score_after_anomalies(std::array<float, 4> box, float class_id = kCar, float score = 0.9F) {
        raw.set(3, box, class_id, score);
        EXPECT_EQ(detector.remove_anomalies(), 0);
        return raw.scores[3];
    }

    raw_results raw;
    location_controller_larod detector;
};

TEST_F(OverlapSuppressionTest, ImplausiblySmallAndLargeBoxesAreDemoted) {
    const struct {
        std::array<float, 4> box;
        bool kept;
    } table[] = {
        {{0.1F, 0.1F, 0.14F, 0.2F}, false},  // 0.4 % of the frame
        {{0.1F, 0.1F, 0.2F, 0.2F}, true},    // 1 %
        {{0.0F, 0.0F, 1.0F, 0.69F}, true},   // 69 %
        {{0.0F, 0.0F, 1.0F, 0.71F}, false},  // 71 %
        {{0.5F, 0.5F, 0.5F, 0.9F}, false},   // no height
        {{0.9F, 0.1F, 0.1F, 0.9F}, false},   // upside down: a negative area
        {{0.9F, 0.9F, 0.1F, 0.1F}, true},    // inverted both ways: the area is positive again
        {{-1.0F, -1.0F, 2.0F, 2.0F}, false}, // nine frames
        {{kNaN, 0.1F, 0.2F, 0.2F}, true},    // not a number is neither small nor large
        {{-kInfinity, 0.1F, 0.2F, 0.2F}, false}, {{1e30F, 1e30F, 2e30F, 2e30F}, false},
    };
    for (const auto& [box, kept] : table)
        EXPECT_EQ(score_after_anomalies(box), kept ? 0.9F : 0.01F) << testing::PrintToString(box);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(OverlapSuppressionTest, AnAreaExactlyOnALimitIsKept) {
    // With the frame as the unit the ratio is the box's area itself.
    detector.m_StreamWidth = 1;
    detector.m_StreamHeight = 1;
    EXPECT_EQ(score_after_anomalies({0, 0, 1, 0.005F}), 0.9F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, std::nextafter(0.005F, 0.0F)}), 0.01F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, 0.7F}), 0.9F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, std::nextafter(0.7F, 1.0F)}), 0.01F);
}

TEST_F(OverlapSuppressionTest, EveryResultOfClass0IsDemoted) {
    const struct {
        float class_id;
        bool kept;
    } table[] = {{0.0F, false}, {0.9F, false}, {-0.9F, false}, {1.0F, true},     {-1.0F, true},
                 {kNaN, false}, {1e30F, true}, {-1e30F, true}, {kInfinity, true}};
    for (const auto& [class_id, kept] : table)
        EXPECT_EQ(score_after_anomalies({0.1F, 0.1F, 0.3F, 0.3F}, class_id), kept ? 0.9F : 0.01F) << class_id;
}

TEST_F(OverlapSuppressionTest, AResultAtOrBelowTheThresholdIsNotExamined) {
    detector.set_sensitivity(0.5F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, 1}, 0, 0.5F), 0.5F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, 1}, 0, 0.2F), 0.2F);
    EXPECT_EQ(score_after_anomalies({0, 0, 1, 1}, 0, std::nextafter(0.5F, 1.0F)), 0.01F);
    EXPECT_TRUE(std::isnan(score_after_anomalies({0, 0, 1, 1}, 0, kNaN)));
}

TEST_F(OverlapSuppressionTest, OnlyTwelveRowsAreLookedAt) {
    for (size_t i = 0; i < 13; ++i)
        raw.set(i, {0, 0, 1, 1}, 0, 0.9F);
    detector.remove_anomalies();
    EXPECT_THAT(std::vector<float>(raw.scores.begin(), raw.scores.begin() + 12), Each(0.01F));
    EXPECT_EQ(raw.scores[12], 0.9F);

    for (size_t i = 0; i < 13; ++i)
        raw.set(i, {0, 0, 0.5F, 0.5F}, kCar, 0.9F);
    detector.apply_non_maximum_suppression();
    EXPECT_EQ(raw.scores[0], 0.9F);
    EXPECT_THAT(std::vector<float>(raw.scores.begin() + 1, raw.scores.begin() + 12), Each(0.01F));
    EXPECT_EQ(raw.scores[12], 0.9F);
}

TEST_F(OverlapSuppressionTest, EqualClassesAndCarWithTruckAreCompared) {
    for (int a = -2; a < 12; ++a)
        for (int b = -2; b < 12; ++b)
            EXPECT_EQ(shouldCompareClasses(a, b), a == b || (a == 2 && b == 7) || (a == 7 && b == 2)) << a << " " << b;
}

TEST_F(OverlapSuppressionTest, OverlapIsMeasuredAgainstTheSmallerBox) {
    const struct {
        std::array<float, 4> a, b;
        bool overlap;
    } table[] = {
        {{0, 0, 0.8F, 0.8F}, {0.1F, 0.1F, 0.2F, 0.2F}, true},   // wholly inside
        {{0, 0, 0.5F, 0.5F}, {0.25F, 0, 0.75F, 0.5F}, true},    // half of either
        {{0, 0, 0.5F, 0.5F}, {0.375F, 0, 0.875F, 0.5F}, false}, // a quarter
        {{0, 0, 0.5F, 0.5F}, {0.5F, 0, 1, 0.5F}, false},        // side by side
        {{0, 0, 0.5F, 0.5F}, {0.6F, 0.6F, 1, 1}, false},        // apart
        {{0, 0, 0.5F, 0.5F}, {0.2F, 0.2F, 0.2F, 0.4F}, false},  // no height
        {{0, 0, 0.5F, 0.5F}, {0.4F, 0.4F, 0.1F, 0.1F}, false},  // inverted
        {{kNaN, kNaN, kNaN, kNaN}, {0, 0, 0.5F, 0.5F}, false},
        {{0, 0, 0.5F, 0.5F}, {kNaN, kNaN, kNaN, kNaN}, true}, // taken for the first
        {{kInfinity, 0, kInfinity, 1}, {kInfinity, 0, kInfinity, 1}, false},
        {{-kInfinity, 0, kInfinity, 1}, {-kInfinity, 0, kInfinity, 1}, false}, // infinity by infinity says nothing
        {{0, 0, 1e30F, 1e30F}, {0, 0, 0.5F, 0.5F}, true},
    };
    for (auto [a, b, overlap] : table) {
        EXPECT_EQ(detector.DoTheseOverlap(a.data(), b.data(), 0), overlap)
            << testing::PrintToString(a) << testing::PrintToString(b);
        EXPECT_EQ(detector.DoTheseOverlap(a.data(), b.data(), 99), overlap) << "the index plays no part";
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(OverlapSuppressionTest, ExactlyTheOverlapRatioIsNotEnough) {
    detector.m_StreamWidth = 1;
    detector.m_StreamHeight = 1;
    std::array<float, 4> a = {0, 0, 1, 0.4F};
    std::array<float, 4> b = {0, 0, 1, 1};
    std::array<float, 4> small = {0, 0, 1, 1};
    EXPECT_TRUE(detector.DoTheseOverlap(a.data(), b.data(), 0)) << "the smaller lies inside";
    a = {0, 0, 1, 0.4F};
    small = {0, -0.6F, 1, 0.4F}; // one wide, 0.4 of it shared with a box as large
    std::array<float, 4> large = {0, 0, 1, 2};
    const float ratio = 0.4F / (0.4F + 0.6F);
    EXPECT_EQ(detector.DoTheseOverlap(small.data(), large.data(), 0), ratio > 0.4F);
    small = {0, -0.5F, 1, 0.5F};
    EXPECT_TRUE(detector.DoTheseOverlap(small.data(), large.data(), 0));
}

TEST_F(OverlapSuppressionTest, TheOrderOfTheRowsDecidesNotTheScores) {
    raw.set(0, {0.1F, 0.1F, 0.4F, 0.4F}, kCar, 0.5F);
    raw.set(1, {0.1F, 0.1F, 0.4F, 0.4F}, kCar, 0.99F);
    EXPECT_EQ(detector.apply_non_maximum_suppression(), 0);
    EXPECT_EQ(raw.scores[0], 0.5F);
    EXPECT_EQ(raw.scores[1], 0.01F);
}

TEST_F(OverlapSuppressionTest, ACarDemotesATruckAndLeavesABus) {
    for (const auto& [other, kept] : {std::pair{kTruck, false}, std::pair{kBus, true}}) {
        raw.set(0, {0, 0, 0.4F, 0.4F}, kCar, 0.9F);
        raw.set(1, {0.2F, 0, 0.6F, 0.4F}, other, 0.8F);
        detector.apply_non_maximum_suppression();
        EXPECT_EQ(raw.scores[0], 0.9F);
        EXPECT_EQ(raw.scores[1], kept ? 0.8F : 0.01F);
    }
}

TEST_F(OverlapSuppressionTest, PersonsWouldSuppressEachOther) {
    raw.set(0, {0, 0, 0.5F, 0.5F}, 0, 0.6F);
    raw.set(1, {0.1F, 0.1F, 0.2F, 0.2F}, 0, 0.9F);
    detector.apply_non_maximum_suppression();
    EXPECT_EQ(raw.scores[1], 0.01F);
}

TEST_F(OverlapSuppressionTest, ADemotedResultDemotesNothing) {
    raw.set(0, {0, 0, 0.4F, 0.4F}, kCar, 0.9F);
    raw.set(1, {0.2F, 0, 0.6F, 0.4F}, kCar, 0.9F); // half over the first
    raw.set(2, {0.4F, 0, 0.8F, 0.4F}, kCar, 0.9F); // half over the second only
    detector.apply_non_maximum_suppression();
    EXPECT_THAT(std::vector<float>(raw.scores.begin(), raw.scores.begin() + 3), ElementsAre(0.9F, 0.01F, 0.9F));
}

TEST_F(OverlapSuppressionTest, AResultBelowTheThresholdTakesNoPart) {
    raw.set(0, {0, 0, 0.4F, 0.4F}, kCar, 0.35F);
    raw.set(1, {0, 0, 0.4F, 0.4F}, kCar, 0.9F);
    raw.set(2, {0, 0, 0.4F, 0.4F}, kCar, 0.2F);
    detector.apply_non_maximum_suppression();
    EXPECT_THAT(std::vector<float>(raw.scores.begin(), raw.scores.begin() + 3), ElementsAre(0.35F, 0.9F, 0.2F));
}

TEST_F(OverlapSuppressionTest, OneRowSuppressesOnlyLaterOnes) {
    for (size_t i = 0; i < 12; ++i)
        raw.set(i, {0, 0, 0.5F, 0.5F}, kCar, 0.9F);
    EXPECT_EQ(detector.lower_the_threshold_of_any_same_object_overlapping_this_one(9), 0);
    EXPECT_THAT(std::vector<float>(raw.scores.begin(), raw.scores.begin() + 10), Each(0.9F));
    EXPECT_EQ(raw.scores[10], 0.01F);
    EXPECT_EQ(raw.scores[11], 0.01F);
    EXPECT_EQ(detector.lower_the_threshold_of_any_same_object_overlapping_this_one(11), 0);
}

TEST_F(OverlapSuppressionTest, WithoutOutputsThereIsNothingToDo) {
    location_controller_larod bare;
    EXPECT_EQ(bare.remove_anomalies(), 0);
    EXPECT_EQ(bare.apply_non_maximum_suppression(), 0);
}

/** Both steps, written down plainly; saturating where a class does not fit. */
class naive_model {
  public:
    naive_model(const raw_results& raw, float width, float height, float threshold)
        : m_raw(raw), m_width(width), m_height(height), m_threshold(threshold) {}

    std::array<float, 13> scores() {
        for (size_t i = 0; i < 12; ++i) {
            if (!(m_raw.scores[i] > m_threshold))
                continue;
            const auto [y1, x1, y2, x2] = box(i);
            const float ratio = ((x2 - x1) * (y2 - y1)) / (m_height * m_width);
            if (ratio < 0.005F || ratio > 0.7F || class_of(i) == 0)
                m_raw.scores[i] = 0.01F;
        }
        for (size_t i = 0; i < 12; ++i)
            for (size_t j = i + 1; j < 12; ++j)
                if (m_raw.scores[i] > m_threshold && m_raw.scores[j] > m_threshold && comparable(i, j) && overlap(i, j))
                    m_raw.scores[j] = 0.01F;
        return m_raw.scores;
    }

  private:
    std::array<float, 4> box(size_t row) const {
        const float* fractions = &m_raw.locations[4 * row];
        return {fractions[0] * m_height, fractions[1] * m_width, fractions[2] * m_height, fractions[3] * m_width};
    }

    double class_of(size_t row) const {
        return std::isnan(m_raw.classes[row]) ? 0.0 : std::trunc(double{m_raw.classes[row]});
    }

    bool comparable(size_t i, size_t j) const {
        const auto clamp = [](double value) { return std::min(std::max(value, -2147483648.0), 2147483647.0); };
        const double a = clamp(class_of(i));
        const double b = clamp(class_of(j));
        return a == b || (a == 2 && b == 7) || (a == 7 && b == 2);
    }

    bool overlap(size_t i, size_t j) const {
        const auto [ay1, ax1, ay2, ax2] = box(i);
        const auto [by1, bx1, by2, bx2] = box(j);
        const float inter = std::max(0.0F, std::min(ax2, bx2) - std::max(ax1, bx1)) *
                            std::max(0.0F, std::min(ay2, by2) - std::max(ay1, by1));
        const float smaller = std::min((ax2 - ax1) * (ay2 - ay1), (bx2 - bx1) * (by2 - by1));
        return inter > 0 && !(smaller <= 0) && inter / smaller > 0.4F;
    }

    raw_results m_raw;
    float m_width;
    float m_height;
    float m_threshold;
};

TEST_F(OverlapSuppressionTest, AgreesWithTheNaiveModelOnAnything) {
    const unsigned seed = 4711;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> fraction(-0.1F, 1.1F);
    const float odd[] = {kNaN, kInfinity, -kInfinity, 1e30F, -1e30F, 1e-30F, 0, -0.0F, 1, 2.5F};
    const float classes[] = {0, 0.9F, 1, 2, 2.7F, 5, 7, 7.99F, 8, 9, -1, -0.5F, kNaN, 1e30F, kInfinity};
    const auto draw_edge = [&] { return random() % 40 == 0 ? odd[random() % std::size(odd)] : fraction(random); };
    detector.m_StreamWidth = 1280;
    detector.m_StreamHeight = 720;
    int demoted = 0;
    for (int round = 0; round < 5000; ++round) {
        for (size_t i = 0; i < 13; ++i)
            raw.set(i, {draw_edge(), draw_edge(), draw_edge(), draw_edge()}, classes[random() % std::size(classes)],
                    random() % 30 == 0 ? odd[random() % std::size(odd)] : fraction(random));
        for (size_t i = 1; i < 13; ++i) // boxes near one another
            if (random() % 2 == 0)
                for (size_t edge = 0; edge < 4; ++edge)
                    raw.locations[4 * i + edge] = raw.locations[4 * (i - 1) + edge] + 0.1F * fraction(random);
        detector.set_sensitivity(fraction(random));
        const raw_results before = raw;
        const std::array<float, 13> expected = naive_model(raw, 1280, 720, detector.m_Threshold).scores();
        detector.remove_anomalies();
        detector.apply_non_maximum_suppression();
        for (size_t i = 0; i < 13; ++i) {
            ASSERT_TRUE(raw.scores[i] == expected[i] || (std::isnan(raw.scores[i]) && std::isnan(expected[i])))
                << "round " << round << " row " << i << ": " << raw.scores[i] << " for " << expected[i];
            demoted += raw.scores[i] != before.scores[i] ? 1 : 0;
        }
        ASSERT_EQ(bits_of(raw.locations), bits_of(before.locations));
        ASSERT_EQ(bits_of(raw.classes), bits_of(before.classes));
    }
    EXPECT_GT(demoted, 10000) << "the input exercises what is compared";
    EXPECT_THAT(log_lines(), IsEmpty());
}

} // namespace
