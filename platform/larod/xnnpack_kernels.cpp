#include "platform/larod/xnnpack_kernels.h"

#include "platform/larod/thread_pool.h"

#include <xnnpack.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <vector>

namespace korvex::larod {

namespace {

using tflite::Activation;
using tflite::Allocation;
using tflite::Context;
using tflite::IntArray;
using tflite::Node;
using tflite::Padding;
using tflite::Registration;
using tflite::Status;
using tflite::Tensor;
using tflite::Type;

constexpr std::int32_t conv_2d = 3;
constexpr std::int32_t depthwise_conv_2d = 4;
constexpr std::int32_t hard_swish = 117;
constexpr std::int32_t most_versions = 16;

struct OperatorDeleter {
    void operator()(xnn_operator_t op) const { xnn_delete_operator(op); }
};
using Operator = std::unique_ptr<xnn_operator, OperatorDeleter>;

/** What one node keeps between inferences. */
struct KernelState {
    std::shared_ptr<pthreadpool> pool = shared_thread_pool();
    Operator op;
    /** What `op` was last set up for; setting up again costs time and is needed only when one of these changes. */
    const void* input = nullptr;
    const void* output = nullptr;
    /** A dynamic tensor's memory ends where its values end, and the kernels may read further: they get a copy. */
    std::vector<float> padded_input;
};

/** One convolution's parameters, whichever of the two operators they come from. */
struct Convolution {
    Padding padding;
    Activation activation;
    std::int32_t stride_height, stride_width, dilation_height, dilation_width;
    bool depthwise;
};

IntArray* (*g_int_array_create)(int) = nullptr;

Tensor* tensor(Context* context, const IntArray* indices, int position) {
    if (position >= indices->size)
        return nullptr;
    const std::int32_t index = values(indices)[position];
    return index < 0 ? nullptr : context->tensors + index;
}

std::size_t dimension(const Tensor& t, int axis) {
    return static_cast<std::size_t>(values(t.dims)[axis]);
}

bool is_float(const Tensor* t, int rank) {
    return t != nullptr && t->type == Type::float32 && t->dims != nullptr && t->dims->size == rank;
}

bool is_stored_float(const Tensor* t, int rank) {
    return is_float(t, rank) && t->allocation_type == Allocation::stored && t->data != nullptr;
}

bool all_positive(const Tensor& t) {
    return std::all_of(values(t.dims), values(t.dims) + t.dims->size, [](std::int32_t size) { return size > 0; });
}

/** XNNPACK reads up to XNN_EXTRA_BYTES beyond a tensor. The engine's arena has that room behind its last tensor. */
const float* readable_input(KernelState& state, const Tensor& input) {
    const auto* data = static_cast<const float*>(input.data);
    if (input.allocation_type != Allocation::dynamic)
        return data;
    const std::size_t count = input.bytes / sizeof(float);
    state.padded_input.assign(count + XNN_EXTRA_BYTES / sizeof(float), 0.0F);
    std::copy_n(data, count, state.padded_input.data());
    return state.padded_input.data();
}

Convolution convolution(const Node& node, bool depthwise) {
    if (depthwise) {
        const auto& o = *static_cast<const tflite::DepthwiseOptions*>(node.builtin_data);
        return {o.padding, o.activation, o.stride_height, o.stride_width, o.dilation_height, o.dilation_width, true};
    }
    const auto& o = *static_cast<const tflite::ConvolutionOptions*>(node.builtin_data);
    return {o.padding, o.activation, o.stride_height, o.stride_width, o.dilation_height, o.dilation_width, false};
}

/** 0 when there is no room for the kernel. */
int output_size(Padding padding, std::int32_t size, std::int32_t kernel, std::int32_t stride, std::int32_t dilation) {
    std::int64_t room = size;
    if (padding == Padding::valid)
        room -= std::int64_t{dilation} * (kernel - 1);
    return room <= 0 ? 0 : static_cast<int>((room + stride - 1) / stride);
}

/** Zeros needed before and after one axis together; of an odd number the greater half comes after. */
std::uint32_t padding(const Convolution& c, std::int32_t size, std::int32_t output, std::int32_t kernel,
                      std::int32_t stride, std::int32_t dilation) {
    if (c.padding == Padding::valid)
        return 0;
    const std::int64_t reach = std::int64_t{output - 1} * stride + std::int64_t{dilation} * (kernel - 1) + 1;
    return static_cast<std::uint32_t>(std::max<std::int64_t>(reach - size, 0));
}

/** The range of an activation; false for one that these kernels do not know. */
bool activation_range(Activation activation, float& least, float& most) {
    least = -std::numeric_limits<float>::infinity();
    most = std::numeric_limits<float>::infinity();
    switch (activation) {
    case Activation::none:
        return true;
    case Activation::relu:
        least = 0;
        return true;
    case Activation::relu_minus_1_to_1:
        least = -1;
        most = 1;
        return true;
    case Activation::relu6:
        least = 0;
        most = 6;
        return true;
    }
    return false;
}

Status refuse(Context* context, const char* why) {
    context->report_error(context, "%s", why);
    return Status::error;
}

Status resize(Context* context, Tensor* output, const int* sizes, int rank) {
    IntArray* dims = g_int_array_create(rank);
    std::copy_n(sizes, rank, values(dims));
    return context->resize_tensor(context, output, dims);
}

Status prepare_convolution(Context* context, Node* node, bool depthwise) {
    auto& state = *static_cast<KernelState*>(node->user_data);
    const Tensor* input = tensor(context, node->inputs, 0);
    const Tensor* kernel = tensor(context, node->inputs, 1);
    const Tensor* bias = tensor(context, node->inputs, 2);
    Tensor* output = tensor(context, node->outputs, 0);
    if (state.pool == nullptr || node->builtin_data == nullptr || !is_float(input, 4) || !is_stored_float(kernel, 4) ||
        (bias != nullptr && !is_stored_float(bias, 1)) || output == nullptr || output->type != Type::float32)
        return refuse(context, "The fast convolution serves float tensors with stored weights only.");
    const Convolution c = convolution(*node, depthwise);
    const auto* in = values(input->dims);
    const auto* k = values(kernel->dims);
    const std::int32_t channels_out = depthwise ? k[3] : k[0];
    float least = 0;
    float most = 0;
    if (!all_positive(*input) || !all_positive(*kernel) || !activation_range(c.activation, least, most) ||
        (c.padding != Padding::same && c.padding != Padding::valid) ||
        std::min({c.stride_height, c.stride_width, c.dilation_height, c.dilation_width}) < 1 ||
        (depthwise ? (k[0] != 1 || k[3] % in[3] != 0) : k[3] != in[3]) ||
        (bias != nullptr && values(bias->dims)[0] != channels_out))
        return refuse(context, impossible_convolution);
    const std::array<int, 4> sizes{in[0], output_size(c.padding, in[1], k[1], c.stride_height, c.dilation_height),
                                   output_size(c.padding, in[2], k[2], c.stride_width, c.dilation_width), channels_out};
    if (sizes[1] < 1 || sizes[2] < 1)
        return refuse(context, impossible_convolution);

    const std::uint32_t flags = depthwise ? XNN_FLAG_DEPTHWISE_CONVOLUTION : 0U;
    // Not XNNPACK's own way of "same" padding: it is wrong where a stride is longer than the kernel.
    const std::uint32_t rows = padding(c, in[1], sizes[1], k[1], c.stride_height, c.dilation_height);
    const std::uint32_t columns = padding(c, in[2], sizes[2], k[2], c.stride_width, c.dilation_width);
    const std::size_t channels_in = dimension(*input, 3);
    const auto channels = static_cast<std::size_t>(channels_out);
    const auto u32 = [](std::int32_t value) { return static_cast<std::uint32_t>(value); };
    xnn_operator_t made = nullptr;
    const xnn_status status = xnn_create_convolution2d_nhwc_f32(
        rows / 2, columns - columns / 2, rows - rows / 2, columns / 2, u32(k[1]), u32(k[2]), u32(c.stride_height),
        u32(c.stride_width), u32(c.dilation_height), u32(c.dilation_width), depthwise ? u32(in[3]) : 1U,
        depthwise ? 1 : channels_in, depthwise ? channels / channels_in : channels, channels_in, channels,
        static_cast<const float*>(kernel->data), bias != nullptr ? static_cast<const float*>(bias->data) : nullptr,
        least, most, flags, &made);
    state.op.reset(made);
    state.input = state.output = nullptr;
    if (status != xnn_status_success)
        return refuse(context, "XNNPACK refused the convolution.");
    return resize(context, output, sizes.data(), 4);
}

Status run(KernelState& state) {
    return xnn_run_operator(state.op.get(), pool_to_use(state.pool)) == xnn_status_success ? Status::ok : Status::error;
}

Status invoke_convolution(Context* context, Node* node) {
    auto& state = *static_cast<KernelState*>(node->user_data);
    const Tensor* input = tensor(context, node->inputs, 0);
    const Tensor* output = tensor(context, node->outputs, 0);
    const float* data = readable_input(state, *input);
    if (data != state.input || output->data != state.output) {
        if (xnn_setup_convolution2d_nhwc_f32(state.op.get(), dimension(*input, 0), dimension(*input, 1),
                                             dimension(*input, 2), data, static_cast<float*>(output->data),
                                             state.pool.get()) != xnn_status_success)
            return Status::error;
        state.input = data;
        state.output = output->data;
    }
    return run(state);
}

Status prepare_hard_swish(Context* context, Node* node) {
    auto& state = *static_cast<KernelState*>(node->user_data);
    const Tensor* input = tensor(context, node->inputs, 0);
    Tensor* output = tensor(context, node->outputs, 0);
    const int rank = input != nullptr && input->dims != nullptr ? input->dims->size : 0;
    if (state.pool == nullptr || rank < 1 || !is_float(input, rank) || !all_positive(*input) || output == nullptr ||
        output->type != Type::float32)
        return refuse(context, "The fast hard swish serves float tensors only.");
    const std::size_t channels = dimension(*input, rank - 1);
    xnn_operator_t made = nullptr;
    const xnn_status status = xnn_create_hardswish_nc_f32(channels, channels, channels, 0, &made);
    state.op.reset(made);
    state.input = state.output = nullptr;
    if (status != xnn_status_success)
        return refuse(context, "XNNPACK refused the hard swish.");
    return resize(context, output, values(input->dims), rank);
}

Status invoke_hard_swish(Context* context, Node* node) {
    auto& state = *static_cast<KernelState*>(node->user_data);
    const Tensor* input = tensor(context, node->inputs, 0);
    const Tensor* output = tensor(context, node->outputs, 0);
    const float* data = readable_input(state, *input);
    if (data != state.input || output->data != state.output) {
        const std::size_t rows = input->bytes / sizeof(float) / dimension(*input, input->dims->size - 1);
        if (xnn_setup_hardswish_nc_f32(state.op.get(), rows, data, static_cast<float*>(output->data),
                                       state.pool.get()) != xnn_status_success)
            return Status::error;
        state.input = data;
        state.output = output->data;
    }
    return run(state);
}

void* make_state(Context* /*context*/, const char* /*options*/, std::size_t /*length*/) {
    return std::make_unique<KernelState>().release();
}

void free_state(Context* /*context*/, void* state) {
    const std::unique_ptr<KernelState> owned(static_cast<KernelState*>(state));
}

Registration registration(Status (*prepare)(Context*, Node*), Status (*invoke)(Context*, Node*), std::int32_t code) {
    return {make_state, free_state, prepare, invoke, nullptr, code, nullptr, 1};
}

} // namespace

bool add_xnnpack_kernels(const tflite::TfliteLibrary& library, tflite::InterpreterOptions* options) {
    if (xnn_initialize(nullptr) != xnn_status_success)
        return false;
    // The engine's arrays must come from its own allocator; operators are given no place to keep a library in.
    g_int_array_create = library.int_array_create;
    const Registration convolution =
        registration([](Context* context, Node* node) { return prepare_convolution(context, node, false); },
                     invoke_convolution, conv_2d);
    const Registration depthwise =
        registration([](Context* context, Node* node) { return prepare_convolution(context, node, true); },
                     invoke_convolution, depthwise_conv_2d);
    const Registration swish = registration(prepare_hard_swish, invoke_hard_swish, hard_swish);
    library.options_add_builtin(options, conv_2d, &convolution, 1, most_versions);
    library.options_add_builtin(options, depthwise_conv_2d, &depthwise, 1, most_versions);
    library.options_add_builtin(options, hard_swish, &swish, 1, most_versions);
    return true;
}

} // namespace korvex::larod
