#include "base/arithmetic.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/** The low 32 bits of an exact result, two's complement. */
int32_t low_bits(int64_t exact) {
    const int64_t modulus = int64_t{1} << 32;
    const int64_t low = ((exact % modulus) + modulus) % modulus;
    return static_cast<int32_t>(low > kMax ? low - modulus : low);
}

TEST(ArithmeticTest, SumsDifferencesAndProductsWrap) {
    EXPECT_EQ(wrap_add(kMax, 1), kMin);
    EXPECT_EQ(wrap_subtract(kMin, 1), kMax);
    EXPECT_EQ(wrap_multiply(kMax, 2), -2);
    EXPECT_EQ(wrap_multiply(65536, 65536), 0);
    EXPECT_EQ(wrap_multiply(-3, 7), -21);
}

TEST(ArithmeticTest, AgreesWithWideArithmeticCutTo32Bits) {
    const unsigned seed = 20240611;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const int32_t corners[] = {kMin, kMin + 1, -1, 0, 1, 2, kMax - 1, kMax};
    const auto draw = [&]() -> int32_t {
        return random() % 4 == 0 ? corners[random() % std::size(corners)] : static_cast<int32_t>(random());
    };
    for (int i = 0; i < 20000; ++i) {
        const int32_t a = draw();
        const int32_t b = draw();
        ASSERT_EQ(wrap_add(a, b), low_bits(int64_t{a} + b)) << a << " " << b;
        ASSERT_EQ(wrap_subtract(a, b), low_bits(int64_t{a} - b)) << a << " " << b;
        ASSERT_EQ(wrap_multiply(a, b), low_bits(int64_t{a} * b)) << a << " " << b;
        ASSERT_EQ(wrap_divide(a, b), b == 0 ? 0 : low_bits(int64_t{a} / b)) << a << " " << b;
    }
}

TEST(ArithmeticTest, QuotientsTruncateTowardZero) {
    EXPECT_EQ(wrap_divide(7, 2), 3);
    EXPECT_EQ(wrap_divide(-7, 2), -3);
    EXPECT_EQ(wrap_divide(kMin, -1), kMin);
    EXPECT_EQ(wrap_divide(5, 0), 0);
}

TEST(ArithmeticTest, FloatsBecomeIntegersByTruncation) {
    const struct {
        float value;
        int32_t as_int;
        uint32_t as_unsigned;
    } table[] = {
        {0.0F, 0, 0},
        {-0.0F, 0, 0},
        {0.9F, 0, 0},
        {-0.5F, 0, 0},
        {-1.5F, -1, 0},
        {2.999F, 2, 2},
        {2147483520.0F, 2147483520, 2147483520U}, // the largest float below 2^31
        {2147483648.0F, kMax, 2147483648U},
        {-2147483648.0F, kMin, 0},
        {4294967040.0F, kMax, 4294967040U}, // the largest float below 2^32
        {4294967296.0F, kMax, 4294967295U},
        {1e30F, kMax, 4294967295U},
        {-1e30F, kMin, 0},
        {kInfinity, kMax, 4294967295U},
        {-kInfinity, kMin, 0},
        {kNaN, 0, 0},
        {-kNaN, 0, 0},
    };
    for (const auto& row : table) {
        EXPECT_EQ(float_to_int(row.value), row.as_int) << row.value;
        EXPECT_EQ(float_to_unsigned(row.value), row.as_unsigned) << row.value;
    }
}

} // namespace
