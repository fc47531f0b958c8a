#include "platform/larod/engine.h"

#include "platform/larod/failure.h"

#include <dlfcn.h>

#include <string_view>

namespace korvex::larod {

// Never closed: code that the library left behind, at a thread's end for instance, may still be called.
Engine::Engine(const std::string& path) : m_path(path), m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (std::string_view(version()).starts_with("2.9.")) {
        delegate_create = Symbol{dlsym(m_library, "TfLiteXNNPackDelegateCreate")};
        delegate_delete = Symbol{dlsym(m_library, "TfLiteXNNPackDelegateDelete")};
    }
}

Engine::Symbol Engine::need(const char* name) const {
    if (m_library == nullptr) {
        const char* reason = dlerror();
        throw Failure(Code::engine, "Cannot load the inference engine " + m_path + ": " +
                                        (reason != nullptr ? reason : "unknown reason") +
                                        ". model/make.sh fetches it; KORVEX_LAROD_LIBRARY names another one.");
    }
    void* address = dlsym(m_library, name);
    if (address == nullptr)
        throw Failure(Code::engine,
                      "The library " + m_path + " is no TensorFlow Lite with a C interface: it lacks " + name + ".");
    return {address};
}

} // namespace korvex::larod
