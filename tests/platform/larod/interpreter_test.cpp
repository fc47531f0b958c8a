#include "platform/larod/interpreter.h"
#include "platform/larod/service_settings.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace korvex::larod::test {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;

std::shared_ptr<const Engine> engine() {
    std::string why;
    auto opened = Engine::open(engine_location(), why);
    if (opened == nullptr)
        throw std::runtime_error(why);
    return opened;
}

/** A model with its bytes. */
struct Loaded {
    explicit Loaded(const std::string& path, int threads = 1) : bytes(read_file(path)) {
        std::string why;
        model = Interpreter::load(engine(), bytes, threads, why);
        if (model == nullptr)
            throw std::runtime_error(path + ": " + why);
    }

    bool run(const std::vector<std::byte>& picture, std::string& why) const {
        const auto input = model->input(0).bytes;
        if (input.size() != picture.size())
            throw std::runtime_error("the picture has another size than the model's input");
        std::copy(picture.begin(), picture.end(), input.begin());
        return model->run(why);
    }

    std::vector<float> output(std::size_t index) const {
        const auto given = model->output(index).bytes;
        return floats({given.begin(), given.end()});
    }

    std::vector<std::byte> bytes;
    std::unique_ptr<Interpreter> model;
};

void expect_example(const std::string& name) {
    const Loaded model(test_model(name));
    const std::string base = std::string(KORVEX_TEST_MODELS) + "/" + name;
    std::string why;
    ASSERT_TRUE(model.run(read_file(base + ".in"), why)) << why;
    EXPECT_THAT(model.output(0), Pointwise(FloatNear(1e-3F), floats(read_file(base + ".out")))) << name;
}

TEST(Interpreter, TellsItsTensorsAndRuns) {
    const Loaded model(test_model("outputs_4"));
    EXPECT_EQ(model.model->input_count(), 1U);
    EXPECT_EQ(model.model->output_count(), 4U);
    const TensorInfo input = model.model->input(0).info;
    EXPECT_EQ(input, (TensorInfo{uint8_type, 4, {1, 2, 2, 3}}));
    EXPECT_EQ(model.model->output(3).bytes.size(), 48U);
    std::string why;
    ASSERT_TRUE(model.run(std::vector<std::byte>(12, std::byte{5}), why)) << why;
    EXPECT_EQ(model.output(3), std::vector<float>(12, 20.0F));
}

TEST(Interpreter, ComputesConvolutionsOfEveryShapeAsAPlainSumDoes) {
    for (int i = 0; i < KORVEX_CONVOLUTIONS; ++i)
        expect_example("convolution_" + std::to_string(i));
}

TEST(Interpreter, RunsAModelThatTheFastConvolutionsRefuse) {
    expect_example("computed_weights");
}

TEST(Interpreter, RunsAModelWhoseShapesAreKnownOnlyAsItRuns) {
    expect_example("sized_as_it_runs");
}

TEST(Interpreter, SaysWhyAModelCannotBeRun) {
    const Loaded model(test_model("wrong_size_as_it_runs"));
    std::string why;
    EXPECT_FALSE(model.run(std::vector<std::byte>(12), why));
    EXPECT_THAT(why, HasSubstr("The model cannot be run: "));
}

TEST(Interpreter, SaysThatAFileIsNoModel) {
    std::string why;
    const std::vector<std::byte> text(100, std::byte{'x'});
    EXPECT_EQ(Interpreter::load(engine(), text, 1, why), nullptr);
    EXPECT_EQ(why, "The model cannot be used: it is no TensorFlow Lite file, or it is damaged.");
}

TEST(Interpreter, GivesTheSameResultOnOneThreadAndOnTwo) {
    const auto picture = std::vector<std::byte>(std::size_t{960} * 540 * 3, std::byte{90});
    std::vector<std::vector<float>> boxes;
    for (const int threads : {1, 2}) {
        const Loaded model(default_model(), threads);
        std::string why;
        ASSERT_TRUE(model.run(picture, why)) << why;
        boxes.push_back(model.output(0));
    }
    EXPECT_EQ(boxes[0], boxes[1]);
}

} // namespace

} // namespace korvex::larod::test
