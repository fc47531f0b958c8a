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

const Engine& engine() {
    static const Engine opened(engine_location());
    return opened;
}

/** A model with its bytes. */
struct Loaded {
    explicit Loaded(const std::string& path, int threads = 1)
        : bytes(read_file(path)), model(engine(), bytes, threads) {}

    void run(const std::vector<std::byte>& picture) {
        const auto input = model.tensor(0).bytes;
        if (input.size() != picture.size())
            throw std::runtime_error("the picture has another size than the model's input");
        std::copy(picture.begin(), picture.end(), input.begin());
        model.run();
    }

    std::vector<float> output(std::size_t index) const {
        const auto given = model.tensor(model.input_count() + index).bytes;
        return floats({given.begin(), given.end()});
    }

    std::vector<std::byte> bytes;
    Interpreter model;
};

void expect_example(const std::string& name) {
    Loaded model(test_model(name));
    const std::string base = std::string(KORVEX_TEST_MODELS) + "/" + name;
    model.run(read_file(base + ".in"));
    EXPECT_THAT(model.output(0), Pointwise(FloatNear(1e-3F), floats(read_file(base + ".out")))) << name;
}

TEST(Interpreter, TellsItsTensorsAndRuns) {
    Loaded model(test_model("outputs_4"));
    EXPECT_EQ(model.model.input_count(), 1U);
    EXPECT_EQ(model.model.output_count(), 4U);
    EXPECT_EQ(model.model.tensor(0).info, (TensorInfo{uint8_type, 4, {1, 2, 2, 3}}));
    EXPECT_EQ(model.model.tensor(4).bytes.size(), 48U);
    model.run(std::vector<std::byte>(12, std::byte{5}));
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
    Loaded model(test_model("wrong_size_as_it_runs"));
    EXPECT_THAT([&] { model.run(std::vector<std::byte>(12)); }, fails_with(HasSubstr("The model cannot be run: ")));
}

TEST(Interpreter, SaysThatAFileIsNoModel) {
    const std::vector<std::byte> text(100, std::byte{'x'});
    EXPECT_THAT([&] { Interpreter(engine(), text, 1); },
                fails_with("The model cannot be used: it is no TensorFlow Lite file, or it is damaged."));
}

TEST(Interpreter, GivesTheSameResultOnOneThreadAndOnTwo) {
    const auto picture = std::vector<std::byte>(std::size_t{960} * 540 * 3, std::byte{90});
    std::vector<std::vector<float>> boxes;
    for (const int threads : {1, 2}) {
        Loaded model(default_model(), threads);
        model.run(picture);
        boxes.push_back(model.output(0));
    }
    EXPECT_EQ(boxes[0], boxes[1]);
}

} // namespace

} // namespace korvex::larod::test
