#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/**
 * Arithmetic with a defined result for every input. Settings and network outputs are not range-checked anywhere, so
 * products of coordinates may overflow and floats may be anything: 32-bit integer results wrap (two's complement), and
 * a float becomes an integer by truncation, saturating at the type's ends, NaN giving 0 (what AArch64 does in
 * hardware).
 */
inline int32_t wrap_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t wrap_subtract(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t wrap_multiply(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/** a / b truncated toward zero; 0 for b = 0, and the one quotient that does not fit wraps. */
inline int32_t wrap_divide(int32_t a, int32_t b) {
    if (b == 0)
        return 0;
    return b == -1 ? wrap_subtract(0, a) : a / b;
}

template <typename Integer>
Integer float_to(float value) {
    static_assert(std::numeric_limits<Integer>::digits <= 32, "the limits must be exact in double");
    const auto wide = static_cast<double>(value);
    if (std::isnan(wide))
        return 0;
    if (wide <= static_cast<double>(std::numeric_limits<Integer>::min()))
        return std::numeric_limits<Integer>::min();
    if (wide >= static_cast<double>(std::numeric_limits<Integer>::max()))
        return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(wide);
}

inline int32_t float_to_int(float value) {
    return float_to<int32_t>(value);
}
inline uint32_t float_to_unsigned(float value) {
    return float_to<uint32_t>(value);
}
