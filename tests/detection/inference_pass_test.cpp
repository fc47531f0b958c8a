#include "base/logger.h"
#include "config/config_params.h"
#include "tests/detection/set_up_detector.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <limits>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

const std::array<bool ConfigParams::*, 9> kFlags = {
    &ConfigParams::b_DetectPersons,     &ConfigParams::b_DetectBicycles,  &ConfigParams::b_DetectCars,
    &ConfigParams::b_DetectMotorcycles, &ConfigParams::b_DetectAirplanes, &ConfigParams::b_DetectBuses,
    &ConfigParams::b_DetectTrains,      &ConfigParams::b_DetectTrucks,    &ConfigParams::b_DetectBoats};

/** A detector that is set up on the doubles; every class is wanted. */
class InferencePassTest : public set_up_detector {
  protected:
    InferencePassTest() {
        for (const auto flag : kFlags)
            g_ConfigParams.*flag = true;
    }
    ~InferencePassTest() override { g_ConfigParams = {}; }

    texts pass_log(int result) {
        return log_of([&] { EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), result); });
    }
};

TEST_F(InferencePassTest, TakesAFrameInfersAndGivesItBack) {
    set_up();
    recording_vdo::recorder().reset();
    recording_larod::recorder().reset();
    EXPECT_THAT(pass_log(0), IsEmpty());
    EXPECT_EQ(recording_vdo::recorder().journal(),
              (texts{"vdo_stream_get_buffer", "vdo_buffer_get_data", "vdo_stream_buffer_unref"}));
    EXPECT_EQ(recording_larod::recorder().journal(), texts{"larodRunInference"});
    EXPECT_EQ(detector->m_buf, nullptr);
    EXPECT_EQ(recording_vdo::recorder().live("VdoBuffer"), 0);
}

TEST_F(InferencePassTest, NothingOfTheLastPassIsLeftWhileTheFrameIsWaitedFor) {
    set_up();
    recording_larod::recorder().fail("larodRunInference", {.times = 1});
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 1);
    VdoBuffer* kept = detector->m_buf; // by a failed pass
    ASSERT_NE(kept, nullptr);
    ASSERT_NE(detector->m_nv12Data, nullptr);
    detector->m_error = g_error_new_literal(g_quark_from_static_string("test"), 1, "of the last pass");
    bool waited = false;
    recording_vdo::recorder().during("vdo_stream_get_buffer", [&] {
        waited = true;
        EXPECT_EQ(detector->m_error, nullptr);
        EXPECT_EQ(detector->m_buf, nullptr);
        EXPECT_EQ(detector->m_nv12Data, nullptr);
    });
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_TRUE(waited);
    g_object_unref(kept);
}

TEST_F(InferencePassTest, TheInputIsTheConvertedFrame) {
    set_up();
    recording_vdo::set_frame({235}); // all 235: white with a tint
    ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    const std::vector<uint8_t> input = recording_larod::last_input();
    ASSERT_EQ(input.size(), 960U * 540U * 3U);
    EXPECT_GT(input[0], 245) << "much red and blue";
    EXPECT_GT(input[2], 245);
    EXPECT_LT(input[1], 200);
    recording_vdo::set_frame({128});
    ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_NEAR(recording_larod::last_input()[0], 130, 2);
}

TEST_F(InferencePassTest, TheOutputFilesAreRewoundBeforeEachInference) {
    set_up();
    for (const float score : {0.5F, 0.6F, 0.7F}) {
        recording_larod::set_outputs({{{0.1F, 0.2F, 0.3F, 0.4F}, {2}, {score}, {1}}});
        ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
        EXPECT_EQ(detector->m_OutputScores[0], score);
        EXPECT_EQ(detector->m_OutputClasses[0], 2.0F);
        EXPECT_EQ(detector->m_OutputLocations[3], 0.4F);
    }
}

TEST_F(InferencePassTest, EveryOutputIsRewoundAndTheInputIsNot) {
    set_up();
    const std::array files = {detector->m_LarodOutputLocationsFile.get(), detector->m_LarodOutputClassesFile.get(),
                              detector->m_LarodOutputScoresFile.get(), detector->m_LarodOutputNumDetectionsFile.get(),
                              detector->m_LarodInputFile.get()};
    for (const MemoryMappedFile* file : files)
        ASSERT_EQ(lseek(file->getFileDescriptor(), 7, SEEK_SET), 7);
    std::vector<off_t> positions;
    recording_larod::on_inference([&] {
        for (const MemoryMappedFile* file : files)
            positions.push_back(lseek(file->getFileDescriptor(), 0, SEEK_CUR));
    });
    EXPECT_THAT(pass_log(0), IsEmpty());
    EXPECT_THAT(positions, ElementsAre(0, 0, 0, 0, 7));
}

TEST_F(InferencePassTest, AFileThatCannotBeRewoundEndsNothing) {
    set_up();
    const std::string name = detector->m_LarodOutputClassesFile->m_filename;
    failing_libc::fail("lseek", ESPIPE, 1);
    EXPECT_THAT(pass_log(0), ElementsAre("error|rewind: Failed to rewind mapped file " + name + " : Illegal seek"));
    EXPECT_EQ(recording_larod::recorder().calls("larodRunInference").size(), 1U);
}

TEST_F(InferencePassTest, OutputsLongerThanTheirFilesMakeThemLonger) {
    set_up();
    recording_larod::set_outputs({std::vector<float>(400, 0.25F), std::vector<float>(100, 2),
                                  std::vector<float>(100, 0.9F), std::vector<float>(1, 100)});
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_EQ(detector->m_OutputClasses[11], 2.0F);
}

TEST_F(InferencePassTest, RawResultsAreCleanedUpInPlace) {
    set_up();
    std::vector<float> locations;
    for (const std::array<float, 4>& box : {std::array{0.1F, 0.1F, 0.4F, 0.4F}, std::array{0.1F, 0.1F, 0.4F, 0.4F},
                                            std::array{0.0F, 0.0F, 1.0F, 1.0F}, std::array{0.5F, 0.5F, 0.8F, 0.8F}})
        locations.insert(locations.end(), box.begin(), box.end());
    recording_larod::set_outputs({{locations, {2, 7, 5, 0}, {0.9F, 0.8F, 0.7F, 0.6F}, {4}}});
    ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_THAT(std::vector<float>(detector->m_OutputScores, detector->m_OutputScores + 4),
                ElementsAre(0.9F, 0.01F, 0.01F, 0.01F));
    const auto detections = detector->get_detections();
    ASSERT_EQ(detections.size(), 1U);
    EXPECT_EQ(detections[0].ClassId, 2);
    EXPECT_EQ(detector->get_detections().size(), 1U) << "the same again until the next pass";
}

TEST_F(InferencePassTest, AnAnomalyIsDemotedBeforeItCanDemoteOthers) {
    set_up();
    // Two cars, the first of them tiny and wholly inside the second.
    recording_larod::set_outputs({{{0.2F, 0.2F, 0.25F, 0.25F, 0.1F, 0.1F, 0.4F, 0.4F}, {2, 2}, {0.9F, 0.8F}, {2}}});
    ASSERT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_EQ(detector->m_OutputScores[0], 0.01F);
    EXPECT_EQ(detector->m_OutputScores[1], 0.8F);
}

TEST_F(InferencePassTest, WithoutAFrameTheNetworkStillRunsAndTheReleaseIsTried) {
    set_up();
    recording_vdo::recorder().reset();
    recording_vdo::recorder().fail("vdo_stream_get_buffer", {.message = "silent"});
    EXPECT_THAT(pass_log(1),
                ElementsAre("error|convertCropScaleU8yuvToRGB: Failed NV12ToARGB(), result=-1",
                            "error|larod_prepare_data_and_do_ai: Failed img scale/convert in "
                            "convertCropScaleU8yuvToRGB()",
                            "error|larod_prepare_data_and_do_ai: Failed to release VDO stream buffer: no buffer"));
    EXPECT_EQ(recording_larod::recorder().calls("larodRunInference").size(), 1U);
    EXPECT_EQ(recording_vdo::recorder().journal().back(), "vdo_stream_buffer_unref");
}

TEST_F(InferencePassTest, AFailedInferenceKeepsTheFrame) {
    set_up();
    for (const bool with_record : {true, false}) {
        recording_vdo::recorder().reset();
        recording_larod::recorder().reset();
        recording_larod::recorder().fail("larodRunInference", {.message = "overheated", .with_record = with_record});
        EXPECT_THAT(pass_log(1), ElementsAre("error|larod_prepare_data_and_do_ai: Unable to run inference on model "
                                             "/mnt/flash/usr/local/packages/korvex_orvel/detect_960_540.tflite: " +
                                             std::string(with_record ? "overheated" : "N/A")));
        EXPECT_THAT(recording_vdo::recorder().calls("vdo_stream_buffer_unref"), IsEmpty());
        ASSERT_NE(detector->m_buf, nullptr);
        g_object_unref(detector->m_buf); // what the application leaves behind
    }
    recording_larod::recorder().reset();
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 0) << "the next pass tries again";
}

TEST_F(InferencePassTest, AFailedInferenceIsNotCleanedUp) {
    set_up();
    recording_larod::set_outputs({{{0, 0, 1, 1}, {0}, {0.9F}, {1}}});
    recording_larod::recorder().fail("larodRunInference");
    detector->m_OutputScores[0] = 0.9F;
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 1);
    EXPECT_EQ(detector->m_OutputScores[0], 0.9F);
    g_object_unref(detector->m_buf);
}

TEST_F(InferencePassTest, APassBeginsWithoutEarlierErrors) {
    set_up();
    g_set_error_literal(&detector->m_error, g_quark_from_static_string("test"), 1, "of an earlier pass");
    recording_larod::recorder().fail("larodRunInference");
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 1);
    EXPECT_EQ(detector->m_error, nullptr);
    g_object_unref(detector->m_buf);
}

TEST_F(InferencePassTest, AFailedReleaseEndsThePassBeforeTheCleanUp) {
    set_up();
    recording_larod::set_outputs({{{0, 0, 1, 1}, {0}, {0.9F}, {1}}});
    for (const bool with_record : {true, false}) {
        recording_vdo::recorder().reset();
        recording_vdo::recorder().fail("vdo_stream_buffer_unref", {.message = "gone", .with_record = with_record});
        EXPECT_THAT(pass_log(1),
                    ElementsAre("error|larod_prepare_data_and_do_ai: Failed to release VDO stream buffer: " +
                                std::string(with_record ? "gone" : "N/A")));
        EXPECT_EQ(detector->m_OutputScores[0], 0.9F);
        g_object_unref(detector->m_buf);
    }
    recording_vdo::recorder().reset();
    EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 0);
    EXPECT_EQ(detector->m_OutputScores[0], 0.01F);
}

TEST_F(InferencePassTest, LabelsFollowTheClassTable) {
    const char* labels[] = {"Person", "Bicycle", "Car", "Motorcycle", "Airplane", "Bus", "Train", "Truck", "Boat"};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(location_controller_larod::ClassIDToLabel(i), labels[i]);
    for (const int other : {-1, 9, 80, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(location_controller_larod::ClassIDToLabel(other), "Unknown");
}

TEST_F(InferencePassTest, EachClassIsWantedByItsFlagAlone) {
    for (int wanted = 0; wanted < 9; ++wanted) {
        for (int i = 0; i < 9; ++i)
            g_ConfigParams.*kFlags[static_cast<size_t>(i)] = i == wanted;
        for (int i = -1; i < 10; ++i) {
            EXPECT_EQ(location_controller_larod::is_object_a_trigger(i), i == wanted) << i;
            EXPECT_EQ(location_controller_larod::IsValidClass(i), i == wanted) << i;
        }
    }
}

/** Rows in memory of the test's own. */
class DecodingTest : public InferencePassTest {
  protected:
    DecodingTest() {
        rows.m_StreamWidth = 1280;
        rows.m_StreamHeight = 720;
        rows.m_OutputLocations = locations.data();
        rows.m_OutputClasses = classes.data();
        rows.m_OutputScores = scores.data();
    }

    std::array<float, 13 * 4> locations{};
    std::array<float, 13> classes{};
    std::array<float, 13> scores{};
    location_controller_larod rows;
};

TEST_F(DecodingTest, FractionsBecomePixels) {
    const struct {
        std::array<float, 4> box;  // top, left, bottom, right
        std::array<int, 4> pixels; // X, Y, W, H
    } table[] = {
        {{0.25F, 0.5F, 0.75F, 1.0F}, {640, 180, 640, 360}},
        {{-0.01F, -0.5F, 0.5F, 0.5F}, {0, 0, 640, 360}},
        {{0.5F, 0.5F, 1.5F, 2.0F}, {640, 360, 1920, 720}},
        {{0.75F, 0.75F, 0.25F, 0.25F}, {960, 540, -640, -360}},
        {{0.0009F, 0.0009F, 0.0019F, 0.0019F}, {1, 0, 1, 1}},
        {{kNaN, kNaN, kNaN, kNaN}, {0, 0, 0, 0}},
        {{-kInfinity, 0, kInfinity, 1}, {0, 0, 1280, -1}},
        {{0, 0, 1e30F, 1e30F}, {0, 0, -1, -1}},
        {{1e30F, 0, 0, 0}, {0, -1, 0, 1}},
    };
    scores[0] = 0.9F;
    for (const auto& [box, pixels] : table) {
        std::copy(box.begin(), box.end(), locations.begin());
        const auto found = rows.get_detections();
        ASSERT_EQ(found.size(), 1U);
        EXPECT_THAT((std::array{found[0].X, found[0].Y, found[0].W, found[0].H}), testing::ElementsAreArray(pixels))
            << testing::PrintToString(box);
        EXPECT_EQ(found[0].Confidence, 0.9F);
    }
}

TEST_F(DecodingTest, AScoreMustExceedTheThreshold) {
    rows.set_sensitivity(0.5F);
    const struct {
        float score;
        bool kept;
    } table[] = {{0.5F, false},    {std::nextafter(0.5F, 1.0F), true}, {0.49F, false}, {1, true}, {kNaN, false},
                 {kInfinity, true}};
    for (const auto& [score, kept] : table) {
        scores[0] = score;
        EXPECT_EQ(rows.get_detections().size(), kept ? 1U : 0U) << score;
    }
}

TEST_F(DecodingTest, TheClassIsCutTowardZero) {
    const struct {
        float value;
        int class_id; // -1: not selected
    } table[] = {{0.9F, 0}, {-0.5F, 0},  {2.99F, 2},   {8.999F, 8},     {9, -1},         {-1, -1},
                 {kNaN, 0}, {1e30F, -1}, {-1e30F, -1}, {kInfinity, -1}, {-kInfinity, -1}};
    scores[0] = 0.9F;
    for (const auto& [value, class_id] : table) {
        classes[0] = value;
        const auto found = rows.get_detections();
        ASSERT_EQ(found.size(), class_id < 0 ? 0U : 1U) << value;
        if (!found.empty()) {
            EXPECT_EQ(found[0].ClassId, class_id);
        }
    }
}

TEST_F(DecodingTest, UnwantedClassesAreNeverReturned) {
    scores.fill(0.99F);
    g_ConfigParams.b_DetectPersons = false;
    EXPECT_THAT(rows.get_detections(), IsEmpty());
    g_ConfigParams.b_DetectPersons = true;
    EXPECT_EQ(rows.get_detections().size(), 12U) << "row 12 is never looked at";
}

TEST_F(DecodingTest, RowsKeepTheirOrder) {
    for (size_t i = 0; i < 12; ++i) {
        scores[i] = i % 2 == 0 ? 0.5F + static_cast<float>(i) / 100 : 0.1F;
        classes[i] = static_cast<float>(i % 9);
    }
    const auto found = rows.get_detections();
    ASSERT_EQ(found.size(), 6U);
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].ClassId, static_cast<int>(2 * i % 9));
        EXPECT_EQ(found[i].Confidence, scores[2 * i]);
    }
}

TEST_F(DecodingTest, AgreesWithWideArithmeticOnAnything) {
    const unsigned seed = 31;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> fraction(-0.2F, 1.2F);
    const float odd[] = {kNaN, kInfinity, -kInfinity, 1e30F, -1e30F, 3e6F, 5e6F, -0.0F};
    const auto pixels = [](float value, float size) -> int64_t {
        const auto product = double{value * size};
        if (std::isnan(product) || product <= 0)
            return 0;
        return product >= 4294967295.0 ? 4294967295 : static_cast<int64_t>(product);
    };
    const auto low_bits = [](int64_t value) { return static_cast<int>(static_cast<uint32_t>(value)); };
    scores.fill(0.9F);
    for (int round = 0; round < 3000; ++round) {
        for (float& edge : locations)
            edge = random() % 10 == 0 ? odd[random() % std::size(odd)] : fraction(random);
        const auto found = rows.get_detections();
        ASSERT_EQ(found.size(), 12U);
        for (size_t i = 0; i < 12; ++i) {
            const int64_t top = pixels(locations[4 * i], 720);
            const int64_t left = pixels(locations[4 * i + 1], 1280);
            ASSERT_EQ(found[i].X, low_bits(left));
            ASSERT_EQ(found[i].Y, low_bits(top));
            ASSERT_EQ(found[i].H, low_bits(pixels(locations[4 * i + 2], 720) - top));
            ASSERT_EQ(found[i].W, low_bits(pixels(locations[4 * i + 3], 1280) - left));
        }
    }
}

TEST_F(DecodingTest, WithoutOutputsThereAreNoDetections) {
    location_controller_larod bare;
    EXPECT_THAT(bare.get_detections(), IsEmpty());
}

} // namespace
