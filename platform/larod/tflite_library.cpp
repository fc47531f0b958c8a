#include "platform/larod/tflite_library.h"

#include <dlfcn.h>

#include <cstring>
#include <string_view>

namespace korvex::tflite {

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    void* symbol = dlsym(library, name);
    static_assert(sizeof(function) == sizeof(symbol));
    std::memcpy(&function, &symbol, sizeof(function));
    return symbol != nullptr;
}

} // namespace

std::shared_ptr<const TfliteLibrary> TfliteLibrary::open(const std::string& path, std::string& why) {
    // Never closed: an engine's static objects and thread-local ones do not survive an unloading for certain.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* reason = dlerror();
        why = "Cannot load the inference engine " + path + ": " + (reason != nullptr ? reason : "unknown reason") +
              ". model/make.sh fetches it; KORVEX_LAROD_LIBRARY names another one.";
        return nullptr;
    }
    auto library = std::make_shared<TfliteLibrary>();
    TfliteLibrary& l = *library;
    const char* missing = nullptr;
    const auto need = [&](const char* name, auto& function) {
        if (!find(handle, name, function) && missing == nullptr)
            missing = name;
    };
    need("TfLiteVersion", l.version);
    need("TfLiteModelCreate", l.model_create);
    need("TfLiteModelDelete", l.model_delete);
    need("TfLiteInterpreterOptionsCreate", l.options_create);
    need("TfLiteInterpreterOptionsDelete", l.options_delete);
    need("TfLiteInterpreterOptionsSetNumThreads", l.options_set_threads);
    need("TfLiteInterpreterOptionsSetErrorReporter", l.options_set_error_reporter);
    need("TfLiteInterpreterCreate", l.interpreter_create);
    need("TfLiteInterpreterDelete", l.interpreter_delete);
    need("TfLiteInterpreterGetInputTensorCount", l.input_count);
    need("TfLiteInterpreterGetInputTensor", l.input);
    need("TfLiteInterpreterGetOutputTensorCount", l.output_count);
    need("TfLiteInterpreterGetOutputTensor", l.output);
    need("TfLiteInterpreterAllocateTensors", l.allocate_tensors);
    need("TfLiteInterpreterInvoke", l.invoke);
    need("TfLiteTensorType", l.tensor_type);
    need("TfLiteTensorNumDims", l.tensor_dimensions);
    need("TfLiteTensorDim", l.tensor_dimension);
    need("TfLiteTensorByteSize", l.tensor_bytes);
    need("TfLiteTensorData", l.tensor_data);
    if (missing != nullptr) {
        why = "The library " + path + " is no TensorFlow Lite with a C interface: it lacks " + missing + ".";
        return nullptr;
    }
    if (std::string_view(l.version()).starts_with("2.2.")) {
        find(handle, "TfLiteInterpreterOptionsAddBuiltinOp", l.options_add_builtin);
        find(handle, "TfLiteIntArrayCreate", l.int_array_create);
    }
    return library;
}

bool TfliteLibrary::has_known_layout() const {
    return options_add_builtin != nullptr && int_array_create != nullptr;
}

} // namespace korvex::tflite
