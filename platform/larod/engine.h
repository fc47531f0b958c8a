#pragma once

#include <tensorflow/lite/c/c_api.h>

#include <memory>
#include <string>

namespace korvex::larod {

/** What the XNNPACK delegate is made with. Its library exports it, but no header of the package declares it. */
struct DelegateOptions {
    std::int32_t threads;
    std::uint32_t flags;
};

/**
 * TensorFlow Lite's C interface, found at run time in a shared library. The library stays loaded until the process
 * ends, so the functions may be called at any time and from any thread.
 */
class Engine {
  public:
    /** The library at `path`, or null with a sentence in `why`. */
    static std::shared_ptr<const Engine> open(const std::string& path, std::string& why);

    decltype(&TfLiteVersion) version = nullptr;
    decltype(&TfLiteModelCreate) model_create = nullptr;
    decltype(&TfLiteModelDelete) model_delete = nullptr;
    decltype(&TfLiteInterpreterOptionsCreate) options_create = nullptr;
    decltype(&TfLiteInterpreterOptionsDelete) options_delete = nullptr;
    decltype(&TfLiteInterpreterOptionsSetNumThreads) options_set_threads = nullptr;
    decltype(&TfLiteInterpreterOptionsAddDelegate) options_add_delegate = nullptr;
    decltype(&TfLiteInterpreterOptionsSetErrorReporter) options_set_error_reporter = nullptr;
    decltype(&TfLiteInterpreterCreate) interpreter_create = nullptr;
    decltype(&TfLiteInterpreterDelete) interpreter_delete = nullptr;
    decltype(&TfLiteInterpreterGetInputTensorCount) input_count = nullptr;
    decltype(&TfLiteInterpreterGetInputTensor) input = nullptr;
    decltype(&TfLiteInterpreterGetOutputTensorCount) output_count = nullptr;
    decltype(&TfLiteInterpreterGetOutputTensor) output = nullptr;
    decltype(&TfLiteInterpreterAllocateTensors) allocate_tensors = nullptr;
    decltype(&TfLiteInterpreterInvoke) invoke = nullptr;
    decltype(&TfLiteTensorType) tensor_type = nullptr;
    decltype(&TfLiteTensorNumDims) tensor_dimensions = nullptr;
    decltype(&TfLiteTensorDim) tensor_dimension = nullptr;
    decltype(&TfLiteTensorByteSize) tensor_bytes = nullptr;
    decltype(&TfLiteTensorData) tensor_data = nullptr;

    /** The fast convolutions; both null unless the library is of the version whose options these are (2.9). */
    TfLiteDelegate* (*delegate_create)(const DelegateOptions*) = nullptr;
    void (*delegate_delete)(TfLiteDelegate*) = nullptr;
};

} // namespace korvex::larod
