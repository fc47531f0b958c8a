#pragma once

#include "platform/larod/pace.h"
#include "platform/larod/tflite_library.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct pthreadpool;

namespace korvex::larod {

/** One input or output of a model. The memory belongs to the interpreter and keeps its place. */
struct TensorView {
    tflite::Type type;
    std::vector<std::int32_t> shape;
    std::size_t bytes;
    void* data;
};

/**
 * A loaded model, ready to run. One thread at a time may use it; `mutex()` is for callers on several. What it is made
 * of is destroyed in the only order that the engine allows.
 */
class Interpreter {
  public:
    /**
     * Checks the model's bytes, then loads them: with the fast kernels where they serve the model, otherwise with the
     * engine's own. Null with a sentence in `why` when the model is broken or not supported.
     */
    static std::shared_ptr<Interpreter> load(std::shared_ptr<const tflite::TfliteLibrary> library,
                                             std::vector<std::byte> model, std::string& why);
    ~Interpreter();
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    std::size_t input_count() const;
    std::size_t output_count() const;
    /** REQUIRES: index < count. Outputs of a model that sizes them as it runs have their size after run() only. */
    TensorView input(std::size_t index) const;
    TensorView output(std::size_t index) const;
    /** Runs the model once over its input tensors' memory; false with a sentence in `why`. */
    bool run(std::string& why);

    std::mutex& mutex() { return m_mutex; }

  private:
    Interpreter(std::shared_ptr<const tflite::TfliteLibrary> library, std::vector<std::byte> model);
    bool build(bool fast);
    void destroy();
    TensorView view(const tflite::Tensor* tensor) const;
    static void report(void* self, const char* format, std::va_list arguments);

    std::shared_ptr<const tflite::TfliteLibrary> m_library;
    std::shared_ptr<pthreadpool> m_pool;
    std::vector<std::byte> m_bytes;
    tflite::Model* m_model = nullptr;
    tflite::InterpreterOptions* m_options = nullptr;
    tflite::Interpreter* m_interpreter = nullptr;
    /** The engine's last complaint. */
    std::string m_complaint;
    Pace m_pace;
    std::mutex m_mutex;
};

} // namespace korvex::larod
