#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace korvex::larod {

constexpr std::uint32_t most_dimensions = 6;

/** What is known of a tensor without its bytes. */
struct TensorInfo {
    /** The engine's number for the type of an element; see type_name. */
    std::int32_t type = 0;
    std::uint32_t dimensions = 0;
    std::array<std::int32_t, most_dimensions> shape{};

    friend bool operator==(const TensorInfo&, const TensorInfo&) = default;
};

constexpr std::int32_t float32_type = 1;
constexpr std::int32_t uint8_type = 3;
constexpr std::int32_t string_type = 5;

/** "uint8 [1, 540, 960, 3]" */
std::string described(const TensorInfo& tensor);

} // namespace korvex::larod
