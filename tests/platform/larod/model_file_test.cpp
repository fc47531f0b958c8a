#include "platform/larod/model_file.h"
#include "tests/platform/larod/test_models.h"

#include <gtest/gtest.h>

#include <random>

namespace korvex::larod::test {

namespace {

TEST(ModelFile, accepts_sound_models) {
    for (const std::string& path : {test_model("outputs_4"), test_model("gather"), test_model("sized_as_it_runs"),
                                    default_model(), default_model("540_960")})
        EXPECT_EQ(what_is_wrong_with(read_file(path)), "") << path;
}

TEST(ModelFile, says_that_something_else_is_no_model) {
    const std::string text = "This is no model at all, but long enough for one.";
    const auto* data = reinterpret_cast<const std::byte*>(text.data());
    EXPECT_EQ(what_is_wrong_with({data, text.size()}), "it is no TensorFlow Lite file");
    EXPECT_EQ(what_is_wrong_with({}), "it is no TensorFlow Lite file");
}

TEST(ModelFile, refuses_an_operator_whose_parameters_would_be_chance) {
    EXPECT_EQ(what_is_wrong_with(read_file(test_model("without_parameters"))), "an operator lacks its parameters");
}

TEST(ModelFile, refuses_to_gather_in_batches) {
    EXPECT_EQ(what_is_wrong_with(read_file(test_model("gather_in_batches"))),
              "it gathers in batches, which is not supported");
}

TEST(ModelFile, finds_every_truncation_of_a_small_model) {
    const auto whole = read_file(test_model("outputs_4"));
    int accepted = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // A vector of its own, so that a read behind the end is seen.
        const std::vector<std::byte> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        accepted += what_is_wrong_with(part).empty() ? 1 : 0;
    }
    // The last bytes only pad the file.
    EXPECT_LT(accepted, 16);
}

TEST(ModelFile, finds_truncations_of_the_default_model) {
    const auto whole = read_file(default_model());
    for (std::size_t size = 0; size < whole.size() - 64; size += whole.size() / 100) {
        const std::vector<std::byte> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_NE(what_is_wrong_with(part), "") << size;
    }
}

TEST(ModelFile, never_reads_outside_a_changed_model) {
    const unsigned seed = 3;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    int refused = 0;
    for (const std::string name : {"outputs_4", "gather", "convolution_0", "sized_as_it_runs"}) {
        const auto whole = read_file(test_model(name));
        for (int round = 0; round < 5000; ++round) {
            auto bytes = whole;
            for (auto changes = 1 + random() % 4; changes > 0; --changes)
                bytes[random() % bytes.size()] = static_cast<std::byte>(random());
            refused += what_is_wrong_with(bytes).empty() ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 2000);
}

} // namespace

} // namespace korvex::larod::test
