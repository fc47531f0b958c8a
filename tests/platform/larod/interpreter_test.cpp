#include "platform/larod/interpreter.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace korvex::larod::test {

namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::HasSubstr;
using testing::Pointwise;

void expect_example(const std::string& name) {
    const auto model = load(test_model(name));
    const std::string base = std::string(KORVEX_TEST_MODELS) + "/" + name;
    std::string why;
    ASSERT_TRUE(run_on(*model, read_file(base + ".in"), why)) << why;
    EXPECT_THAT(floats(model->output(0)), Pointwise(FloatEq(), floats(read_file(base + ".out")))) << name;
}

TEST(Interpreter, tells_its_tensors_and_runs) {
    const auto model = load(test_model("outputs_4"));
    EXPECT_EQ(model->input_count(), 1U);
    EXPECT_EQ(model->output_count(), 4U);
    EXPECT_EQ(model->input(0).type, tflite::Type::uint8);
    EXPECT_THAT(model->input(0).shape, ElementsAre(1, 2, 2, 3));
    EXPECT_EQ(model->output(3).bytes, 48U);
    std::string why;
    ASSERT_TRUE(run_on(*model, std::vector<std::byte>(12, std::byte{5}), why)) << why;
    EXPECT_EQ(floats(model->output(3)), std::vector<float>(12, 20.0F));
}

TEST(Interpreter, runs_a_model_that_the_fast_kernels_refuse) {
    expect_example("computed_weights");
}

TEST(Interpreter, runs_a_model_whose_shapes_are_known_only_as_it_runs) {
    expect_example("sized_as_it_runs");
}

TEST(Interpreter, says_why_a_model_cannot_be_run) {
    const auto model = load(test_model("wrong_size_as_it_runs"));
    std::string why;
    EXPECT_FALSE(run_on(*model, std::vector<std::byte>(12), why));
    EXPECT_THAT(why, HasSubstr("The model cannot be run: "));
}

TEST(Interpreter, gives_the_same_result_on_one_thread_and_on_two) {
    const auto picture = std::vector<std::byte>(std::size_t{960} * 540 * 3, std::byte{90});
    std::vector<std::vector<float>> boxes;
    for (const char* threads : {"1", "2"}) {
        setenv("KORVEX_LAROD_THREADS", threads, 1);
        const auto model = load(default_model());
        std::string why;
        ASSERT_TRUE(run_on(*model, picture, why)) << why;
        boxes.push_back(floats(model->output(0)));
    }
    unsetenv("KORVEX_LAROD_THREADS");
    EXPECT_EQ(boxes[0], boxes[1]);
}

/** Loads what may be broken; whatever is loaded is run. Gives whether it was loaded. */
bool survives(std::vector<std::byte> bytes) {
    std::string why;
    const auto model = Interpreter::load(engine(), std::move(bytes), why);
    if (model == nullptr) {
        EXPECT_FALSE(why.empty());
        return false;
    }
    for (std::size_t i = 0; i < model->input_count(); ++i) {
        const TensorView input = model->input(i);
        std::memset(input.data, 3, input.bytes);
    }
    model->run(why);
    return true;
}

TEST(Interpreter, survives_models_with_random_bytes_changed) {
    const unsigned seed = 1;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    int loaded = 0;
    for (const std::string name : {"outputs_4", "gather", "convolution_0", "convolution_1", "computed_weights"}) {
        const auto whole = read_file(test_model(name));
        for (int round = 0; round < 300; ++round) {
            auto bytes = whole;
            for (auto changes = 1 + random() % 3; changes > 0; --changes)
                bytes[random() % bytes.size()] = static_cast<std::byte>(random());
            loaded += survives(std::move(bytes)) ? 1 : 0;
        }
    }
    // The changes must reach both sides of the check, or the test would show nothing.
    EXPECT_GT(loaded, 100);
    EXPECT_LT(loaded, 1400);
}

TEST(Interpreter, survives_the_default_model_with_its_tables_changed) {
    const unsigned seed = 2;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto whole = read_file(default_model());
    constexpr std::size_t tables = 60000; // The weights follow.
    for (int round = 0; round < 40; ++round) {
        auto bytes = whole;
        bytes[random() % tables] ^= static_cast<std::byte>(1U << random() % 8);
        survives(std::move(bytes));
    }
}

} // namespace

} // namespace korvex::larod::test
