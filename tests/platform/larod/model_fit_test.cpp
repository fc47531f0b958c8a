#include "platform/larod/model_fit.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvex::larod::test {

namespace {

TEST(ModelFit, accepts_the_default_model_and_one_with_the_same_tensors) {
    EXPECT_EQ(why_model_does_not_fit(default_model("960_540"), 960, 540), "");
    EXPECT_EQ(why_model_does_not_fit(default_model("540_960"), 540, 960), "");
    EXPECT_EQ(why_model_does_not_fit(test_model("detector_size"), 960, 540), "");
    EXPECT_EQ(why_model_does_not_fit(test_model("detector_size_portrait"), 540, 960), "");
}

TEST(ModelFit, says_what_a_model_has_and_what_is_needed) {
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
        {"/proc/self/comm", "The model cannot be used: it is no TensorFlow Lite file."},
    };
    for (const Case& c : cases)
        EXPECT_EQ(why_model_does_not_fit(c.path, 960, 540), c.sentence);
}

} // namespace

} // namespace korvex::larod::test
