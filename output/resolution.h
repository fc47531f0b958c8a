#pragma once

#include <cstdint>
#include <tuple>

/** Pixels. Ordered by width, then by height. */
struct Resolution {
    uint32_t width{};
    uint32_t height{};

    friend bool operator<(const Resolution& a, const Resolution& b) {
        return std::tie(a.width, a.height) < std::tie(b.width, b.height);
    }
};
