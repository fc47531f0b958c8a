#pragma once

#include "platform/larod/engine.h"
#include "platform/larod/message.h"

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
     * Loads the model: with the fast convolutions where they serve it, otherwise with the engine's own. `engine` and
     * `model` must outlive the interpreter. Throws a Failure when the model is broken or not supported.
     */
    Interpreter(const Engine& engine, std::span<const std::byte> model, int threads);
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    std::size_t input_count() const;
    std::size_t output_count() const;
    /**
     * The outputs follow the inputs. REQUIRES: index < input_count() + output_count(). Outputs of a model that sizes
     * them as it runs have their size after run() only.
     */
    TensorView tensor(std::size_t index) const;
    /** Runs the model once over its input tensors' memory; throws a Failure. */
    void run();

  private:
    bool build(int threads, bool fast);
    std::string complaint() const;
    static void report(void* self, const char* format, std::va_list arguments);

    const Engine& m_engine;
    // In the order in which each is used by those that follow.
    std::unique_ptr<TfLiteModel, decltype(Engine::model_delete)> m_model;
    std::unique_ptr<TfLiteDelegate, decltype(Engine::delegate_delete)> m_delegate;
    std::unique_ptr<TfLiteInterpreterOptions, decltype(Engine::options_delete)> m_options;
    std::unique_ptr<TfLiteInterpreter, decltype(Engine::interpreter_delete)> m_interpreter;
    /** The engine's first complaint: it names the cause; those that follow only say what it led to. */
    std::string m_complaint;
};

} // namespace korvex::larod
