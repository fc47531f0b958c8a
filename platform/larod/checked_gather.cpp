#include "platform/larod/checked_gather.h"

#include <cstring>
#include <vector>

namespace korvex::larod {

namespace {

using tflite::Context;
using tflite::IntArray;
using tflite::Node;
using tflite::Registration;
using tflite::Status;
using tflite::Tensor;
using tflite::Type;

constexpr std::int32_t gather = 36;
constexpr std::int32_t most_versions = 16;

IntArray* (*g_int_array_create)(int) = nullptr;

/** Bytes of an element; 0 for a type that is not gathered. */
std::size_t element_size(Type type) {
    switch (type) {
    case Type::float32:
    case Type::int32:
        return 4;
    case Type::int64:
        return 8;
    case Type::uint8:
    case Type::int8:
    case Type::boolean:
        return 1;
    case Type::int16:
    case Type::float16:
        return 2;
    default:
        return 0;
    }
}

struct Operands {
    const Tensor* source = nullptr;
    const Tensor* indices = nullptr;
    Tensor* output = nullptr;
    std::int32_t axis = 0;
};

/** False when the node is not one that can be gathered. */
bool operands(Context* context, const Node& node, Operands& o) {
    if (node.inputs->size != 2 || node.outputs->size != 1 || node.builtin_data == nullptr ||
        values(node.inputs)[0] < 0 || values(node.inputs)[1] < 0)
        return false;
    o.source = context->tensors + values(node.inputs)[0];
    o.indices = context->tensors + values(node.inputs)[1];
    o.output = context->tensors + values(node.outputs)[0];
    o.axis = static_cast<const tflite::GatherOptions*>(node.builtin_data)->axis;
    if (o.axis < 0)
        o.axis += o.source->dims->size;
    return o.axis >= 0 && o.axis < o.source->dims->size && element_size(o.source->type) != 0 &&
           o.output->type == o.source->type && (o.indices->type == Type::int32 || o.indices->type == Type::int64);
}

Status prepare(Context* context, Node* node) {
    Operands o;
    if (!operands(context, *node, o)) {
        context->report_error(context, "%s", "The gather's operands do not fit each other.");
        return Status::error;
    }
    const std::int32_t* source = values(o.source->dims);
    std::vector<std::int32_t> shape(source, source + o.axis);
    shape.insert(shape.end(), values(o.indices->dims), values(o.indices->dims) + o.indices->dims->size);
    shape.insert(shape.end(), source + o.axis + 1, source + o.source->dims->size);
    IntArray* dims = g_int_array_create(static_cast<int>(shape.size()));
    std::copy(shape.begin(), shape.end(), values(dims));
    return context->resize_tensor(context, o.output, dims);
}

Status invoke(Context* context, Node* node) {
    Operands o;
    if (!operands(context, *node, o))
        return Status::error;
    const std::int32_t* shape = values(o.source->dims);
    const auto rows = static_cast<std::size_t>(shape[o.axis]);
    std::size_t blocks = 1;
    std::size_t row_bytes = element_size(o.source->type);
    for (std::int32_t axis = 0; axis < o.source->dims->size; ++axis) {
        if (axis < o.axis)
            blocks *= static_cast<std::size_t>(shape[axis]);
        else if (axis > o.axis)
            row_bytes *= static_cast<std::size_t>(shape[axis]);
    }
    const bool wide = o.indices->type == Type::int64;
    const std::size_t count = o.indices->bytes / (wide ? sizeof(std::int64_t) : sizeof(std::int32_t));
    const auto* from = static_cast<const std::byte*>(o.source->data);
    auto* to = static_cast<std::byte*>(o.output->data);
    for (std::size_t block = 0; block < blocks; ++block) {
        for (std::size_t i = 0; i < count; ++i, to += row_bytes) {
            const std::int64_t index = wide ? static_cast<const std::int64_t*>(o.indices->data)[i]
                                            : static_cast<const std::int32_t*>(o.indices->data)[i];
            if (index < 0 || static_cast<std::size_t>(index) >= rows) {
                context->report_error(context, "%s", "A gather's index is out of range.");
                return Status::error;
            }
            std::memcpy(to, from + (block * rows + static_cast<std::size_t>(index)) * row_bytes, row_bytes);
        }
    }
    return Status::ok;
}

} // namespace

void add_checked_gather(const tflite::TfliteLibrary& library, tflite::InterpreterOptions* options) {
    g_int_array_create = library.int_array_create;
    const Registration registration{nullptr, nullptr, prepare, invoke, nullptr, gather, nullptr, 1};
    library.options_add_builtin(options, gather, &registration, 1, most_versions);
}

} // namespace korvex::larod
