#include "platform/larod/engine.h"

#include <dlfcn.h>

#include <string_view>

namespace korvex::larod {
namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

} // namespace

std::shared_ptr<const Engine> Engine::open(const std::string& path, std::string& why) {
    // Never closed: code that the library left behind, at a thread's end for instance, may still be called.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* reason = dlerror();
        why = "Cannot load the inference engine " + path + ": " + (reason != nullptr ? reason : "unknown reason") +
              ". model/make.sh fetches it; KORVEX_LAROD_LIBRARY names another one.";
        return nullptr;
    }
    auto engine = std::make_shared<Engine>();
    const char* missing = nullptr;
    const auto need = [&](const char* name, auto& function) {
        if (!find(handle, name, function) && missing == nullptr)
            missing = name;
    };
    need("TfLiteVersion", engine->version);
    need("TfLiteModelCreate", engine->model_create);
    need("TfLiteModelDelete", engine->model_delete);
    need("TfLiteInterpreterOptionsCreate", engine->options_create);
    need("TfLiteInterpreterOptionsDelete", engine->options_delete);
    need("TfLiteInterpreterOptionsSetNumThreads", engine->options_set_threads);
    need("TfLiteInterpreterOptionsAddDelegate", engine->options_add_delegate);
    need("TfLiteInterpreterOptionsSetErrorReporter", engine->options_set_error_reporter);
    need("TfLiteInterpreterCreate", engine->interpreter_create);
    need("TfLiteInterpreterDelete", engine->interpreter_delete);
    need("TfLiteInterpreterGetInputTensorCount", engine->input_count);
    need("TfLiteInterpreterGetInputTensor", engine->input);
    need("TfLiteInterpreterGetOutputTensorCount", engine->output_count);
    need("TfLiteInterpreterGetOutputTensor", engine->output);
    need("TfLiteInterpreterAllocateTensors", engine->allocate_tensors);
    need("TfLiteInterpreterInvoke", engine->invoke);
    need("TfLiteTensorType", engine->tensor_type);
    need("TfLiteTensorNumDims", engine->tensor_dimensions);
    need("TfLiteTensorDim", engine->tensor_dimension);
    need("TfLiteTensorByteSize", engine->tensor_bytes);
    need("TfLiteTensorData", engine->tensor_data);
    if (missing != nullptr) {
        why = "The library " + path + " is no TensorFlow Lite with a C interface: it lacks " + missing + ".";
        return nullptr;
    }
    if (std::string_view(engine->version()).starts_with("2.9.")) {
        find(handle, "TfLiteXNNPackDelegateCreate", engine->delegate_create);
        find(handle, "TfLiteXNNPackDelegateDelete", engine->delegate_delete);
    }
    return engine;
}

} // namespace korvex::larod
