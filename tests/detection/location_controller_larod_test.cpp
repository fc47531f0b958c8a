#include "base/logger.h"
#include "detection/location_controller_larod.h"
#include "tests/detection/set_up_detector.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>
#include <random>
#include <sstream>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto kModelPath = "/mnt/flash/usr/local/packages/korvex_orvel/detect_960_540.tflite";

texts vdo_journal() {
    return recording_vdo::recorder().journal();
}
texts larod_journal() {
    return recording_larod::recorder().journal();
}

class DetectorSetUpTest : public set_up_detector {};

TEST_F(DetectorSetUpTest, StartsWithItsFixedValues) {
    EXPECT_EQ(detector->m_ModelFileName, "");
    EXPECT_EQ(detector->m_IgnoredLeftStripeW, 0);
    EXPECT_EQ(detector->m_IgnoredRightStripeW, 0);
    EXPECT_EQ(detector->m_ModelWidth, 300);
    EXPECT_EQ(detector->m_ModelHeight, 300);
    EXPECT_EQ(detector->get_iteration_time(), 500);
    EXPECT_EQ(detector->m_Overlap, 0.4F);
    EXPECT_EQ(detector->m_TinyAnomalyMaxAreaPercent, 0.005F);
    EXPECT_EQ(detector->m_HugeAnomalyMaxAreaPercent, 0.7F);
    EXPECT_EQ(detector->m_MaxResults, 12);
    EXPECT_EQ(detector->get_stream_width(), 0U);
    EXPECT_EQ(detector->get_stream_height(), 0U);
    EXPECT_EQ(detector->m_Threshold, 0.35F);
    static_assert(std::is_same_v<decltype(detector->m_Threshold), float>, "a plain word though two threads use it");
    EXPECT_EQ(detector->m_app_name, "");
    EXPECT_EQ(detector->get_modelpath(), "");
    EXPECT_EQ(detector->m_LarodInputFileName, "/tmp/larod.in.test-XXXXXX");
    EXPECT_EQ(detector->m_LarodOutputLocationsFileName, "/tmp/larod.out0.test-XXXXXX");
    EXPECT_EQ(detector->m_LarodOutputClassesFileName, "/tmp/larod.out1.test-XXXXXX");
    EXPECT_EQ(detector->m_LarodOutputScoresFileName, "/tmp/larod.out2.test-XXXXXX");
    EXPECT_EQ(detector->m_LarodOutputNumDetectionsFileName, "/tmp/larod.out3.test-XXXXXX");
    EXPECT_EQ(detector->m_LarodModelFd, -1);
    EXPECT_EQ(detector->m_NumberofResults, 100);
    EXPECT_EQ(detector->m_VDOStream, nullptr);
    EXPECT_FALSE(detector->m_IsPortrait);
    detector->set_is_portrait_true();
    EXPECT_TRUE(detector->m_IsPortrait);
    detector->set_sensitivity(0.75F);
    EXPECT_EQ(detector->m_Threshold, 0.75F);
    destroy();
    EXPECT_THAT(vdo_journal(), IsEmpty());
    EXPECT_THAT(larod_journal(), IsEmpty());
}

TEST_F(DetectorSetUpTest, SetsUpInItsOrder) {
    const texts log = log_of([this] { EXPECT_TRUE(init()); });
    EXPECT_EQ(vdo_journal(),
              (texts{"vdo_channel_get 1", "vdo_channel_get_resolutions", "vdo_map_new", "vdo_map_set_uint32 channel 1",
                     "vdo_map_set_uint32 format 3", "vdo_map_set_uint32 width 1280", "vdo_map_set_uint32 height 720",
                     "vdo_map_set_uint32 rotation 0", "vdo_stream_new", "vdo_stream_attach", "vdo_stream_get_settings",
                     "vdo_stream_start"}));
    const auto fd = [](const std::unique_ptr<MemoryMappedFile>& file) {
        return std::to_string(file->getFileDescriptor());
    };
    const std::string model_fd = std::to_string(detector->m_LarodModelFd);
    EXPECT_EQ(larod_journal(),
              (texts{"larodConnect", "larodSetChip 12", "larodLoadModel " + model_fd + " 2 detect_960_540.tflite",
                     "larodCreateModelInputs", "larodSetTensorFd input0 " + fd(detector->m_LarodInputFile),
                     "larodCreateModelOutputs", "larodSetTensorFd output0 " + fd(detector->m_LarodOutputLocationsFile),
                     "larodSetTensorFd output1 " + fd(detector->m_LarodOutputClassesFile),
                     "larodSetTensorFd output2 " + fd(detector->m_LarodOutputScoresFile),
                     "larodSetTensorFd output3 " + fd(detector->m_LarodOutputNumDetectionsFile),
                     "larodCreateInferenceRequest 1 4"}));
    EXPECT_EQ(log,
              (texts{"info|choose_resolution: Possible stream w/h=1920 x 1080",
                     "info|choose_resolution: Possible stream w/h=1280 x 720",
                     "info|choose_resolution: We select stream w/h=1280 x 720 based on VDO channel info.",
                     "info|init_larod: Starting stream: VDO_FORMAT_YUV, 1280x720, rotation 0, 25 fps",
                     std::string("info|set_paths: Model : detect_960_540.tflite Model Width: 960 Model Height: 540 ") +
                         "Stream Width: 1280 Stream Height: 720",
                     std::string("info|init_larod: Setting up larod connection with chip 12 and model ") + kModelPath,
                     "info|larod_setup: Model loaded successfully",
                     "info|init_larod: Finished with input tensor setup " + fd(detector->m_LarodInputFile),
                     "info|init_larod: Start fetching video frames from VDO"}));
    EXPECT_EQ(recording_vdo::recorder().leaks(), "1 VdoStream") << "maps and channel have been released";
}

TEST_F(DetectorSetUpTest, KeepsWhatItWasGiven) {
    ASSERT_TRUE(init());
    EXPECT_EQ(detector->m_app_name, "korvex_orvel");
    EXPECT_EQ(detector->m_ModelFileName, "detect_960_540.tflite");
    EXPECT_EQ(detector->get_modelpath(), kModelPath);
    EXPECT_EQ(detector->get_iteration_time(), 200);
    EXPECT_EQ(detector->m_LarodChipType, LAROD_CHIP_TFLITE_ARTPEC8DLPU);
    EXPECT_EQ(detector->get_stream_width(), 1280U);
    EXPECT_EQ(detector->get_stream_height(), 720U);
    EXPECT_EQ(detector->m_ModelWidth, 960);
    EXPECT_EQ(detector->m_ModelHeight, 540);
    EXPECT_EQ(detector->m_LarodInputFile->m_filesize, 960 * 540 * 3);
    EXPECT_EQ(detector->m_LarodOutputLocationsFile->m_filesize, 400);
    EXPECT_EQ(detector->m_LarodOutputClassesFile->m_filesize, 100);
    EXPECT_EQ(detector->m_LarodOutputScoresFile->m_filesize, 100);
    EXPECT_EQ(detector->m_LarodOutputNumDetectionsFile->m_filesize, 1);
    EXPECT_EQ(static_cast<void*>(detector->m_OutputLocations), detector->m_LarodOutputLocationsFile->getBuffer());
    EXPECT_EQ(static_cast<void*>(detector->get_output_classes()), detector->m_LarodOutputClassesFile->getBuffer());
    EXPECT_EQ(static_cast<void*>(detector->get_output_scores()), detector->m_LarodOutputScoresFile->getBuffer());
    EXPECT_EQ(detector->m_LarodInputFile->m_filename.substr(0, 19), "/tmp/larod.in.test-");
    EXPECT_EQ(detector->m_LarodOutputNumDetectionsFile->m_filename.substr(0, 21), "/tmp/larod.out3.test-");
}

TEST_F(DetectorSetUpTest, PortraitTurnsStreamAndModel) {
    const texts log = log_of([this] { EXPECT_TRUE(init(LAROD_CHIP_TFLITE_CPU, true, "detect_540_960.tflite")); });
    EXPECT_EQ(recording_vdo::last_settings(),
              (std::map<std::string, uint32_t>{
                  {"channel", 1}, {"format", 3}, {"width", 1280}, {"height", 720}, {"rotation", 90}}));
    EXPECT_EQ(detector->get_stream_width(), 720U);
    EXPECT_EQ(detector->get_stream_height(), 1280U);
    EXPECT_EQ(detector->m_ModelWidth, 540);
    EXPECT_EQ(detector->m_ModelHeight, 960);
    EXPECT_TRUE(detector->m_IsPortrait);
    EXPECT_EQ(log[3], "info|init_larod: Starting stream: VDO_FORMAT_YUV, 1280x720, rotation 90, 25 fps");
    EXPECT_EQ(log[4], "info|set_paths: Model : detect_540_960.tflite Model Width: 540 Model Height: 960 Stream Width: "
                      "720 Stream Height: 1280");
}

TEST_F(DetectorSetUpTest, ReportsTheSettingsInEffect) {
    for (const auto& [key, value] : {std::pair{"width", 1}, {"height", 2}, {"rotation", 3}, {"framerate", 4}})
        recording_vdo::set_effective(key, static_cast<uint32_t>(value));
    const texts log = log_of([this] { init(); });
    EXPECT_EQ(log[3], "info|init_larod: Starting stream: VDO_FORMAT_YUV, 1x2, rotation 3, 4 fps");
    EXPECT_EQ(detector->get_stream_width(), 1280U) << "what was chosen counts";
}

TEST_F(DetectorSetUpTest, ItsEndReleasesEverythingInOrder) {
    ASSERT_TRUE(init());
    recording_vdo::recorder().reset();
    recording_larod::recorder().reset();
    size_t calls_before_the_stream_went = 1;
    const auto note = [](gpointer count, GObject*) { *static_cast<size_t*>(count) = larod_journal().size(); };
    g_object_weak_ref(G_OBJECT(detector->m_VDOStream), note, &calls_before_the_stream_went);
    EXPECT_THAT(log_of([this] { destroy(); }), IsEmpty());
    EXPECT_EQ(calls_before_the_stream_went, 0U);
    EXPECT_EQ(larod_journal(),
              (texts{"larodDestroyJobRequest", "larodDestroyTensors input", "larodDestroyTensors output",
                     "larodDeleteModel", "larodDestroyModel", "larodDisconnect"}));
    EXPECT_EQ(recording_vdo::recorder().leaks(), "");
    EXPECT_EQ(recording_larod::recorder().leaks(), "");
}

TEST_F(DetectorSetUpTest, ReadsTheModelAndLeavesItsDescriptorOpen) {
    ASSERT_TRUE(init());
    const int model = detector->m_LarodModelFd;
    detector.reset();
    const int flags = fcntl(model, F_GETFL);
    ASSERT_NE(flags, -1);
    EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
    close(model);
}

TEST_F(DetectorSetUpTest, FailuresAtItsEndAreLogged) {
    for (const bool with_record : {true, false}) {
        recording_larod::recorder().reset();
        detector = std::make_unique<location_controller_larod>();
        ASSERT_TRUE(init());
        larodConnection* connection = detector->m_LarodConn;
        const std::string message = with_record ? "busy" : "N/A";
        recording_larod::recorder().fail("larodDeleteModel", {.message = "busy", .with_record = with_record});
        recording_larod::recorder().fail("larodDisconnect", {.message = "busy", .with_record = with_record});
        EXPECT_THAT(log_of([this] { destroy(); }),
                    ElementsAre("error|~location_controller_larod: Failed to delete larod model: " + message,
                                "error|~location_controller_larod: Failed to disconnect from larod: " + message));
        EXPECT_EQ(recording_larod::recorder().leaks(), "1 larodConnection") << "what could not be closed";
        recording_larod::recorder().reset();
        larodDisconnect(&connection, nullptr);
    }
}

/** One step of the set-up that fails, and what is logged then, after the lines of the steps before. */
struct failing_step {
    std::string name;
    std::function<void()> prepare;
    texts lines;
    larodChip chip = LAROD_CHIP_TFLITE_ARTPEC8DLPU;
};

std::vector<failing_step> failing_steps(bool with_record) {
    const std::string text = with_record ? "refused" : "N/A";
    std::vector<failing_step> steps;
    const auto vdo = [&](const std::string& call, const texts& lines) {
        steps.push_back({call,
                         [call, with_record] {
                             recording_vdo::recorder().fail(call, {.message = "refused", .with_record = with_record});
                         },
                         lines});
    };
    const auto larod = [&](const std::string& call, const texts& lines) {
        steps.push_back({call,
                         [call, with_record] {
                             recording_larod::recorder().fail(call, {.message = "refused", .with_record = with_record});
                         },
                         lines});
    };
    vdo("vdo_channel_get", {"error|choose_resolution: Failed vdo_channel_get(): " + text,
                            "error|init_larod: Failed choosing stream resolution"});
    vdo("vdo_channel_get_resolutions", {"error|choose_resolution: Failed vdo_channel_get_resolutions(): " + text,
                                        "error|init_larod: Failed choosing stream resolution"});
    vdo("vdo_stream_new", {});
    vdo("vdo_stream_attach", {});
    vdo("vdo_stream_get_settings", {});
    vdo("vdo_stream_start", {});
    steps.push_back(
        {"no model",
         [] { failing_libc::fail("open", ENOENT); },
         {std::string("error|init_larod: Unable to open model file ") + kModelPath + ": No such file or directory"}});
    larod("larodConnect", {"error|larod_setup: Could not connect to larod: " + text});
    steps.push_back({"no chip", [] {}, {"error|larod_setup: Chip type is invalid"}, LAROD_CHIP_INVALID});
    larod("larodSetChip", {"error|larod_setup: Could not select chip 12: " + text});
    larod("larodLoadModel", {"error|larod_setup: Unable to load model: " + text});
    larod("larodCreateModelInputs", {"error|init_larod: Failed retrieving input tensors: " + text});
    larod("larodSetTensorFd input0", {"error|init_larod: Failed setting input tensor fd: " + text});
    larod("larodCreateModelOutputs", {"error|init_larod: Failed retrieving output tensors: " + text});
    larod("larodSetTensorFd output0", {"error|init_larod: Failed setting locations (0) tensor fd: " + text});
    larod("larodSetTensorFd output1", {"error|init_larod: Failed setting classes (1) tensor fd: " + text});
    larod("larodSetTensorFd output2", {"error|init_larod: Failed setting scores (2) tensor fd: " + text});
    larod("larodSetTensorFd output3", {"error|init_larod: Failed setting Num of Detections (3) tensor fd: " + text});
    larod("larodCreateInferenceRequest", {"error|init_larod: Failed creating inference request: " + text});
    const auto model = [&](size_t inputs, size_t outputs, const std::string& line) {
        steps.push_back({line, [=] { recording_larod::set_tensor_counts(inputs, outputs); }, {"error|" + line}});
    };
    model(2, 4, "init_larod: Model has 2 inputs, app only supports 1 input tensor.");
    model(0, 4, "init_larod: Model has 0 inputs, app only supports 1 input tensor.");
    model(1, 3, "init_larod: Model has 3 outputs, need 4 output tensor.");
    model(1, 5, "init_larod: Model has 5 outputs, need 4 output tensor.");
    return steps;
}

TEST_F(DetectorSetUpTest, AnyStepMayFailAndEveryPassThenFails) {
    for (const bool with_record : {true, false}) {
        for (const failing_step& step : failing_steps(with_record)) {
            SCOPED_TRACE(step.name);
            recording_vdo::reset();
            recording_larod::reset();
            detector = std::make_unique<location_controller_larod>();
            step.prepare();
            const texts log = log_of([&] { EXPECT_FALSE(init(step.chip)); });
            texts errors;
            std::copy_if(log.begin(), log.end(), std::back_inserter(errors),
                         [](const std::string& line) { return line.starts_with("error"); });
            EXPECT_EQ(errors, step.lines);
            if (!errors.empty()) {
                EXPECT_EQ(log.back(), errors.back()) << "nothing comes after a failure";
            }

            for (int pass = 0; pass < 2; ++pass) {
                EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 1);
                EXPECT_THAT(
                    log_lines().back(),
                    testing::StartsWith("error|larod_prepare_data_and_do_ai: Unable to run inference on model "));
                if (detector->m_buf != nullptr)
                    g_object_unref(detector->m_buf); // kept by a failed pass
            }
            EXPECT_THAT(detector->get_detections(), IsEmpty());
            destroy();
            EXPECT_EQ(recording_vdo::recorder().leaks(), "");
            EXPECT_EQ(recording_larod::recorder().leaks(), "");
        }
    }
}

TEST_F(DetectorSetUpTest, ARefusedChipOrModelClosesTheConnection) {
    for (const std::string call : {"larodSetChip", "larodLoadModel"}) {
        recording_larod::reset();
        detector = std::make_unique<location_controller_larod>();
        recording_larod::recorder().fail(call);
        EXPECT_FALSE(init());
        EXPECT_EQ(larod_journal().back(), "larodDisconnect");
        EXPECT_EQ(detector->m_LarodConn, nullptr);
        EXPECT_EQ(recording_larod::recorder().leaks(), "");
        destroy();
    }
    recording_larod::reset();
    detector = std::make_unique<location_controller_larod>();
    EXPECT_FALSE(init(LAROD_CHIP_INVALID));
    EXPECT_EQ(larod_journal(), (texts{"larodConnect", "larodDisconnect"}));
}

TEST_F(DetectorSetUpTest, ATensorFileThatCannotBeMadeThrowsItsText) {
    const struct {
        const char* function;
        const char* text;
        int after;
    } table[] = {{"mkstemp", "Failed to create temporary file", 0},
                 {"mkstemp", "Failed to create temporary file", 4},
                 {"ftruncate", "Failed to adjust file size", 2},
                 {"mmap", "Failed to create map file", 3}};
    for (const auto& row : table) {
        detector = std::make_unique<location_controller_larod>();
        failing_libc::fail(row.function, ENOSPC, row.after);
        try {
            init();
            ADD_FAILURE() << "nothing thrown";
        } catch (const char* text) {
            EXPECT_STREQ(text, row.text);
        }
        EXPECT_EQ(detector->larod_prepare_data_and_do_ai(), 1);
        g_object_unref(detector->m_buf);
        destroy();
        EXPECT_EQ(recording_larod::recorder().leaks(), "");
    }
}

TEST_F(DetectorSetUpTest, AModelTooLargeToCountIsRefused) {
    recording_vdo::offer({{{50000, 28125}}});
    // 50000 * 50000 * 3, cut to 32 bits twice.
    try {
        detector->init_larod("korvex_orvel", "detect_960_540.tflite", 50000, 50000, LAROD_CHIP_TFLITE_CPU, 200, false);
        ADD_FAILURE() << "nothing thrown";
    } catch (const char* text) {
        EXPECT_STREQ(text, "Failed to adjust file size");
    }
    EXPECT_THAT(log_lines().back(), testing::HasSubstr(" to size -1089934592 : Invalid argument"));
}

using sizes = std::vector<VdoResolution>;

class ChooseResolutionTest : public set_up_detector {};

/** Of "960x540,1280x720". */
sizes sizes_of(const std::string& text) {
    sizes found;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        const size_t x = word.find('x');
        found.push_back({static_cast<guint32>(std::stoul(word)), static_cast<guint32>(std::stoul(word.substr(x + 1)))});
    }
    return found;
}

TEST_F(ChooseResolutionTest, TakesTheSmallestWidescreenResolutionThatIsLargeEnough) {
    std::ifstream table(KORVEX_ANALYSED_SIZES);
    int cases = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with('#'))
            continue;
        ++cases;
        const size_t arrow = line.find(" -> ");
        ASSERT_NE(arrow, std::string::npos) << line;
        const sizes offered = sizes_of(line.substr(0, arrow));
        const VdoResolution chosen = sizes_of(line.substr(arrow + 4)).at(0);
        recording_vdo::offer({offered});
        unsigned width = 0;
        unsigned height = 0;
        EXPECT_TRUE(detector->choose_resolution(960, 540, &width, &height));
        EXPECT_EQ(width, chosen.width) << line;
        EXPECT_EQ(height, chosen.height) << line;
        EXPECT_EQ(recording_vdo::recorder().leaks(), "");
    }
    EXPECT_GT(cases, 0);
}

TEST_F(ChooseResolutionTest, LogsWhatIsPossibleAndWhatIsChosen) {
    recording_vdo::offer({{{1280, 960}, {1920, 1080}, {1280, 720}}});
    unsigned width = 0;
    unsigned height = 0;
    EXPECT_THAT(log_of([&] { EXPECT_TRUE(detector->choose_resolution(960, 540, &width, &height)); }),
                ElementsAre("info|choose_resolution: Possible stream w/h=1920 x 1080",
                            "info|choose_resolution: Possible stream w/h=1280 x 720",
                            "info|choose_resolution: We select stream w/h=1280 x 720 based on VDO channel info."));
}

TEST_F(ChooseResolutionTest, OfEqualAreasTheFirstWins) {
    const VdoResolution flatter = {1840, 990}; // 1821600 pixels either way, ratios 1.859 and 1.779
    const VdoResolution taller = {1800, 1012};
    for (const sizes& offered : {sizes{flatter, taller}, sizes{taller, flatter}}) {
        recording_vdo::offer({offered});
        unsigned width = 0;
        unsigned height = 0;
        EXPECT_TRUE(detector->choose_resolution(900, 500, &width, &height));
        EXPECT_EQ(width, offered.front().width);
        EXPECT_EQ(height, offered.front().height);
    }
}

TEST_F(ChooseResolutionTest, WithoutACandidateTheWidthReceivesTheHeight) {
    for (const sizes& offered : {sizes{}, sizes{{640, 480}}, sizes{{1280, 960}, {4000, 4000}}, sizes{{640, 360}}}) {
        recording_vdo::offer({offered});
        unsigned width = 11;
        unsigned height = 22;
        EXPECT_THAT(log_of([&] { EXPECT_TRUE(detector->choose_resolution(960, 540, &width, &height)); }),
                    ElementsAre("error|choose_resolution: VDO channel info contains no reslution info. Fallback to "
                                "client-requested stream resolution."));
        EXPECT_EQ(width, 540U);
        EXPECT_EQ(height, 22U);
    }
}

TEST_F(ChooseResolutionTest, ASizeOfZeroIsNoCandidate) {
    recording_vdo::offer({{{0, 0}, {1280, 0}, {0, 720}}});
    unsigned width = 0;
    unsigned height = 0;
    EXPECT_THAT(log_of([&] { EXPECT_TRUE(detector->choose_resolution(0, 0, &width, &height)); }),
                ElementsAre(testing::EndsWith("Fallback to client-requested stream resolution.")));
}

TEST_F(ChooseResolutionTest, AChannelThatCannotBeAskedIsLogged) {
    unsigned width = 1;
    unsigned height = 2;
    for (const auto& [call, text] :
         {std::pair{"vdo_channel_get", "Failed vdo_channel_get(): "},
          std::pair{"vdo_channel_get_resolutions", "Failed vdo_channel_get_resolutions(): "}}) {
        for (const bool with_record : {true, false}) {
            recording_vdo::reset();
            recording_vdo::recorder().fail(call, {.message = "gone", .with_record = with_record});
            EXPECT_THAT(log_of([&] { EXPECT_FALSE(detector->choose_resolution(960, 540, &width, &height)); }),
                        ElementsAre(std::string("error|choose_resolution: ") + text + (with_record ? "gone" : "N/A")));
            EXPECT_EQ(recording_vdo::recorder().leaks(), "");
        }
    }
    EXPECT_EQ(width, 1U);
    EXPECT_EQ(height, 2U);
}

TEST_F(ChooseResolutionTest, AMissingOutputIsAProgrammingError) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    unsigned size = 0;
    EXPECT_DEATH(detector->choose_resolution(960, 540, nullptr, nullptr), "chosen_width");
    EXPECT_DEATH(detector->choose_resolution(960, 540, &size, nullptr), "chosen_height");
}

TEST_F(ChooseResolutionTest, AgreesWithTheNaiveModel) {
    const unsigned seed = 5;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    const auto random = [&engine](unsigned below) { return static_cast<unsigned>(engine() % below); };
    int found = 0;
    for (int round = 0; round < 400; ++round) {
        sizes offered(random(8));
        for (VdoResolution& each : offered) {
            each.width = 160 * (1 + random(12));
            each.height = random(2) == 0 ? each.width * 9 / 16 : 90 * (1 + random(12));
        }
        const unsigned req_width = 160 * random(10);
        const unsigned req_height = 90 * random(10);
        const VdoResolution* best = nullptr;
        for (const VdoResolution& each : offered) {
            const double ratio = static_cast<double>(each.width) / static_cast<double>(each.height);
            if (each.width >= req_width && each.height >= req_height && ratio > 1.677777 && ratio < 1.877777 &&
                (best == nullptr || each.width * each.height < best->width * best->height))
                best = &each;
        }
        recording_vdo::offer({offered});
        unsigned width = 0;
        unsigned height = 0;
        ASSERT_TRUE(detector->choose_resolution(req_width, req_height, &width, &height));
        ASSERT_EQ(width, best != nullptr ? best->width : req_height);
        ASSERT_EQ(height, best != nullptr ? best->height : 0);
        found += best != nullptr ? 1 : 0;
    }
    EXPECT_GT(found, 50);
}

} // namespace
