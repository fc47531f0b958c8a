#include "platform/larod/model_fit.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace korvex::larod::test {
namespace {

TEST(ModelFit, AcceptsTheDefaultModelAndOneWithTheSameTensors) {
    EXPECT_EQ(why_model_does_not_fit(default_model("960_540"), 960, 540), "");
    EXPECT_EQ(why_model_does_not_fit(default_model("540_960"), 540, 960), "");
    EXPECT_EQ(why_model_does_not_fit(test_model("detector_size"), 960, 540), "");
    EXPECT_EQ(why_model_does_not_fit(test_model("detector_size_portrait"), 540, 960), "");
}

TEST(ModelFit, SaysWhatAModelHasAndWhatIsNeeded) {
    struct Case {
        std::string path;
        std::string sentence;
    };
    const std::string outputs = "needed are four of float32: boxes, classes, scores, number of objects.";
    const std::vector<Case> cases{
        {test_model("outputs_4"),
         "The model's input is uint8 [1, 2, 2, 3]; needed is uint8 [1, 540, 960, 3], an RGB picture of 960x540."},
        {test_model("detector_size_portrait"),
         "The model's input is uint8 [1, 960, 540, 3]; needed is uint8 [1, 540, 960, 3], an RGB picture of 960x540."},
        {test_model("inputs_2"), "The model has 2 inputs; needed is one, uint8 [1, 540, 960, 3]."},
        {test_model("detector_size_3_outputs"), "The model has 3 outputs; " + outputs},
        {test_model("detector_size_integers"), "The model's output 0 is int32 [1, 540, 960, 3]; " + outputs},
        {"/nowhere.tflite", "Cannot open the file: No such file or directory."},
        {"/proc/self/comm", "The model cannot be used: it is no TensorFlow Lite file, or it is damaged."},
    };
    for (const Case& c : cases)
        EXPECT_EQ(why_model_does_not_fit(c.path, 960, 540), c.sentence);
}

/** A folder with the default model, the engine and their checksums, and the engine in use there. */
class MadeModel : public testing::Test {
  protected:
    MadeModel() : m_folder(std::filesystem::temp_directory_path() / ("made_model." + std::to_string(getpid()))) {
        std::filesystem::create_directory(m_folder);
        for (const char* name : {"detect_960_540.tflite", "libtensorflowlite_c.so", "model.sha256"})
            std::filesystem::copy_file(std::filesystem::path(KORVEX_MODEL_DIR) / name, m_folder / name);
        setenv("KORVEX_LAROD_LIBRARY", (m_folder / "libtensorflowlite_c.so").c_str(), 1);
    }
    ~MadeModel() override {
        unsetenv("KORVEX_LAROD_LIBRARY");
        std::filesystem::remove_all(m_folder);
    }

    std::string model() const { return m_folder / "detect_960_540.tflite"; }

    /** One bit of the middle changes: in the model a weight, which nothing but its checksum tells. */
    void let_rot(const std::string& path) const {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        const auto middle = static_cast<std::streamoff>(std::filesystem::file_size(path) / 2);
        const int byte = file.seekg(middle).get();
        file.seekp(middle).put(static_cast<char>(byte ^ 1));
    }

    std::string damaged(const std::string& path) const {
        return "The file " + path + " is damaged: it is not what was made. model/make.sh makes it anew.";
    }

    const std::filesystem::path m_folder;
};

TEST_F(MadeModel, FitsAsLongAsItIsWhatWasMade) {
    EXPECT_EQ(why_model_does_not_fit(model(), 960, 540), "");
    let_rot(model());
    EXPECT_EQ(why_model_does_not_fit(model(), 960, 540), damaged(model()));
    const std::string link = m_folder / "link.tflite";
    std::filesystem::create_symlink(model(), link);
    EXPECT_EQ(why_model_does_not_fit(link, 960, 540), damaged(model()));
    std::filesystem::remove(m_folder / "model.sha256");
    EXPECT_EQ(why_model_does_not_fit(model(), 960, 540), "") << "it is well formed all the same";
}

TEST_F(MadeModel, NeedsAnEngineThatIsWhatWasFetched) {
    const std::string engine = m_folder / "libtensorflowlite_c.so";
    let_rot(engine);
    EXPECT_EQ(why_model_does_not_fit(model(), 960, 540), damaged(engine));
}

} // namespace

} // namespace korvex::larod::test
