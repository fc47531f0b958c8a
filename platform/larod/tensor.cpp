#include "platform/larod/tensor.h"

namespace korvex::larod {
namespace {

constexpr std::array<const char*, 12> type_names = {"no type", "float32", "int32",     "uint8", "int64",   "string",
                                                    "bool",    "int16",   "complex64", "int8",  "float16", "float64"};

} // namespace

std::string described(const TensorInfo& tensor) {
    const auto type = static_cast<std::size_t>(tensor.type);
    std::string text = type < type_names.size() ? type_names[type] : "type " + std::to_string(tensor.type);
    text += " [";
    for (std::uint32_t axis = 0; axis < tensor.dimensions && axis < most_dimensions; ++axis)
        text += (axis == 0 ? "" : ", ") + std::to_string(tensor.shape[axis]);
    return text + "]";
}

} // namespace korvex::larod
