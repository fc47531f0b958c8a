#include "platform/larod/xnnpack_kernels.h"
#include "tests/platform/larod/test_models.h"

#include <gtest/gtest.h>

#include <cmath>

namespace korvex::larod::test {

namespace {

TEST(XnnpackKernels, agree_with_plain_sums_for_random_convolutions) {
    // make_test_models.py draws the shapes and options (its SEED) and does the sums.
    constexpr int cases = 40;
    for (int i = 0; i < cases; ++i) {
        const std::string name = "convolution_" + std::to_string(i);
        const std::string base = std::string(KORVEX_TEST_MODELS) + "/" + name;
        const auto model = load(test_model(name));
        // Twice: the second run reuses what the first has set up.
        for (int pass = 0; pass < 2; ++pass) {
            std::string why;
            ASSERT_TRUE(run_on(*model, read_file(base + ".in"), why)) << name << ": " << why;
            const auto got = floats(model->output(0));
            const auto expected = floats(read_file(base + ".out"));
            ASSERT_EQ(got.size(), expected.size()) << name;
            for (std::size_t k = 0; k < got.size(); ++k)
                ASSERT_NEAR(got[k], expected[k], 1e-4 * (1 + std::abs(expected[k]))) << name << " at " << k;
        }
    }
}

} // namespace

} // namespace korvex::larod::test
