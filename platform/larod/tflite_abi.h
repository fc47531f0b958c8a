#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/**
 * The records of TensorFlow Lite's C interface that are used here, declared for its version 2.2. The handles are opaque
 * in every version; the layouts of `Tensor`, `Node`, `Context` and `Registration` hold for 2.2 alone, so whoever looks
 * into them asks TfliteLibrary::has_known_layout() first.
 */
namespace korvex::tflite {

struct Model;
struct InterpreterOptions;
struct Interpreter;

enum class Status : std::int32_t { ok = 0, error = 1 };

enum class Type : std::int32_t {
    none = 0,
    float32 = 1,
    int32 = 2,
    uint8 = 3,
    int64 = 4,
    string = 5,
    boolean = 6,
    int16 = 7,
    complex64 = 8,
    int8 = 9,
    float16 = 10
};

enum class Allocation : std::int32_t { none = 0, stored = 1, arena = 2, persistent = 3, dynamic = 4 };

/** `size` numbers follow the header directly; see `values`. */
struct IntArray {
    std::int32_t size;
};

inline const std::int32_t* values(const IntArray* array) {
    return &array->size + 1;
}

inline std::int32_t* values(IntArray* array) {
    return &array->size + 1;
}

struct Tensor {
    Type type;
    void* data;
    IntArray* dims;
    float scale;
    std::int32_t zero_point;
    Allocation allocation_type;
    std::size_t bytes;
    const void* allocation;
    const char* name;
    void* delegate;
    std::int32_t buffer_handle;
    bool data_is_stale;
    bool is_variable;
    std::int32_t quantization_type;
    void* quantization;
    void* sparsity;
    const IntArray* dims_signature;
};

struct Node {
    IntArray* inputs;
    IntArray* outputs;
    IntArray* intermediates;
    IntArray* temporaries;
    void* user_data;
    void* builtin_data;
};

struct Context {
    std::size_t tensors_size;
    void* get_execution_plan;
    Tensor* tensors;
    void* implementation;
    /** Takes over `new_size`. */
    Status (*resize_tensor)(Context*, Tensor*, IntArray* new_size);
    void (*report_error)(Context*, const char* format, ...);
};

struct Registration {
    /** For a built-in operator `buffer` is its parsed options, also found in Node::builtin_data. */
    void* (*init)(Context*, const char* buffer, std::size_t length);
    void (*free)(Context*, void* state);
    Status (*prepare)(Context*, Node*);
    Status (*invoke)(Context*, Node*);
    const char* (*profiling_string)(const Context*, const Node*);
    std::int32_t builtin_code;
    const char* custom_name;
    std::int32_t version;
};

enum class Padding : std::int32_t { unknown = 0, same = 1, valid = 2 };
enum class Activation : std::int32_t { none = 0, relu = 1, relu_minus_1_to_1 = 2, relu6 = 3 };

struct ConvolutionOptions {
    Padding padding;
    std::int32_t stride_width;
    std::int32_t stride_height;
    Activation activation;
    std::int32_t dilation_width;
    std::int32_t dilation_height;
};

struct DepthwiseOptions {
    Padding padding;
    std::int32_t stride_width;
    std::int32_t stride_height;
    std::int32_t depth_multiplier;
    Activation activation;
    std::int32_t dilation_width;
    std::int32_t dilation_height;
};

struct GatherOptions {
    std::int32_t axis;
};

using ErrorReporter = void (*)(void* user_data, const char* format, std::va_list arguments);

} // namespace korvex::tflite
