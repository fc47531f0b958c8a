#pragma once

#include "platform/larod/engine.h"
#include "platform/larod/tensor.h"

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace korvex::larod {

/** One input or output of a loaded model with its memory, which belongs to the interpreter. */
struct TensorView {
    TensorInfo info;
    std::span<std::byte> bytes;
};

/**
 * A loaded model, ready to run, for one thread. The engine trusts its models: one that is made with malice may end the
 * process, so this is for a worker alone.
 */
class Interpreter {
  public:
    /**
     * Loads the model: with the fast convolutions where they serve it, otherwise with the engine's own. `model` must
     * outlive the interpreter. Null with a sentence in `why` when the model is broken or not supported.
     */
    static std::unique_ptr<Interpreter> load(std::shared_ptr<const Engine> engine, std::span<const std::byte> model,
                                             int threads, std::string& why);
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

  private:
    explicit Interpreter(std::shared_ptr<const Engine> engine);
    bool build(int threads, bool fast);
    void destroy();
    TensorView view(const TfLiteTensor* tensor) const;
    std::string complaint() const;
    static void report(void* self, const char* format, std::va_list arguments);

    std::shared_ptr<const Engine> m_engine;
    TfLiteModel* m_model = nullptr;
    TfLiteInterpreterOptions* m_options = nullptr;
    TfLiteDelegate* m_delegate = nullptr;
    TfLiteInterpreter* m_interpreter = nullptr;
    /** The engine's first complaint: it names the cause; those that follow only say what it led to. */
    std::string m_complaint;
};

} // namespace korvex::larod
