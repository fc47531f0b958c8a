#pragma once

#include <tensorflow/lite/c/c_api.h>

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
    /** A function of the library, as whatever it is declared. */
    struct Symbol {
        void* address;
        template <typename Function>
        operator Function*() const {
            return reinterpret_cast<Function*>(address);
        }
    };

    Symbol need(const char* name) const;

    const std::string m_path; // this and the next are what the functions are found with
    void* const m_library;

  public:
    /** The library at `path`; throws a Failure. */
    explicit Engine(const std::string& path);

    decltype(&TfLiteVersion) version = need("TfLiteVersion");
    decltype(&TfLiteModelCreate) model_create = need("TfLiteModelCreate");
    decltype(&TfLiteModelDelete) model_delete = need("TfLiteModelDelete");
    decltype(&TfLiteInterpreterOptionsCreate) options_create = need("TfLiteInterpreterOptionsCreate");
    decltype(&TfLiteInterpreterOptionsDelete) options_delete = need("TfLiteInterpreterOptionsDelete");
    decltype(&TfLiteInterpreterOptionsSetNumThreads) options_set_threads =
        need("TfLiteInterpreterOptionsSetNumThreads");
    decltype(&TfLiteInterpreterOptionsAddDelegate) options_add_delegate = need("TfLiteInterpreterOptionsAddDelegate");
    decltype(&TfLiteInterpreterOptionsSetErrorReporter) options_set_error_reporter =
        need("TfLiteInterpreterOptionsSetErrorReporter");
    decltype(&TfLiteInterpreterCreate) interpreter_create = need("TfLiteInterpreterCreate");
    decltype(&TfLiteInterpreterDelete) interpreter_delete = need("TfLiteInterpreterDelete");
    decltype(&TfLiteInterpreterGetInputTensorCount) input_count = need("TfLiteInterpreterGetInputTensorCount");
    decltype(&TfLiteInterpreterGetInputTensor) input = need("TfLiteInterpreterGetInputTensor");
    decltype(&TfLiteInterpreterGetOutputTensorCount) output_count = need("TfLiteInterpreterGetOutputTensorCount");
    decltype(&TfLiteInterpreterGetOutputTensor) output = need("TfLiteInterpreterGetOutputTensor");
    decltype(&TfLiteInterpreterAllocateTensors) allocate_tensors = need("TfLiteInterpreterAllocateTensors");
    decltype(&TfLiteInterpreterInvoke) invoke = need("TfLiteInterpreterInvoke");
    decltype(&TfLiteTensorType) tensor_type = need("TfLiteTensorType");
    decltype(&TfLiteTensorNumDims) tensor_dimensions = need("TfLiteTensorNumDims");
    decltype(&TfLiteTensorDim) tensor_dimension = need("TfLiteTensorDim");
    decltype(&TfLiteTensorByteSize) tensor_bytes = need("TfLiteTensorByteSize");
    decltype(&TfLiteTensorData) tensor_data = need("TfLiteTensorData");

    /** The fast convolutions; both null unless the library is of the version whose options these are (2.9). */
    TfLiteDelegate* (*delegate_create)(const DelegateOptions*) = nullptr;
    void (*delegate_delete)(TfLiteDelegate*) = nullptr;
};

} // namespace korvex::larod
