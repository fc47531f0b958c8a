#pragma once

#include "platform/larod/tflite_abi.h"

#include <memory>
#include <string>

namespace korvex::tflite {

/**
 * TensorFlow Lite's C interface, found at run time in a shared library. The library stays loaded until the process
 * ends, so the functions may be called at any time and from any thread.
 */
class TfliteLibrary {
  public:
    /** The library at `path`, or null with a sentence in `why`. */
    static std::shared_ptr<const TfliteLibrary> open(const std::string& path, std::string& why);

    /** Whether the records of tflite_abi.h have this library's layout, so that operators of our own can be added. */
    bool has_known_layout() const;

    const char* (*version)() = nullptr;
    Model* (*model_create)(const void* data, std::size_t size) = nullptr;
    void (*model_delete)(Model*) = nullptr;
    InterpreterOptions* (*options_create)() = nullptr;
    void (*options_delete)(InterpreterOptions*) = nullptr;
    void (*options_set_threads)(InterpreterOptions*, std::int32_t) = nullptr;
    void (*options_set_error_reporter)(InterpreterOptions*, ErrorReporter, void* user_data) = nullptr;
    Interpreter* (*interpreter_create)(const Model*, const InterpreterOptions*) = nullptr;
    void (*interpreter_delete)(Interpreter*) = nullptr;
    std::int32_t (*input_count)(const Interpreter*) = nullptr;
    Tensor* (*input)(const Interpreter*, std::int32_t) = nullptr;
    std::int32_t (*output_count)(const Interpreter*) = nullptr;
    const Tensor* (*output)(const Interpreter*, std::int32_t) = nullptr;
    Status (*allocate_tensors)(Interpreter*) = nullptr;
    Status (*invoke)(Interpreter*) = nullptr;
    Type (*tensor_type)(const Tensor*) = nullptr;
    std::int32_t (*tensor_dimensions)(const Tensor*) = nullptr;
    std::int32_t (*tensor_dimension)(const Tensor*, std::int32_t) = nullptr;
    std::size_t (*tensor_bytes)(const Tensor*) = nullptr;
    void* (*tensor_data)(const Tensor*) = nullptr;

    /** Null unless has_known_layout(). Replaces a built-in operator; `registration` is copied. */
    void (*options_add_builtin)(InterpreterOptions*, std::int32_t code, const Registration* registration,
                                std::int32_t least_version, std::int32_t most_version) = nullptr;
    /** Null unless has_known_layout(). */
    IntArray* (*int_array_create)(int size) = nullptr;
};

} // namespace korvex::tflite
