#include "platform/larod/interpreter.h"

#include <array>
#include <cstdio>

namespace korvex::larod {

Interpreter::Interpreter(const Engine& engine, std::span<const std::byte> model, int threads)
    : m_engine(engine), m_model(engine.model_create(model.data(), model.size()), engine.model_delete),
      m_delegate(nullptr, engine.delegate_delete), m_options(nullptr, engine.options_delete),
      m_interpreter(nullptr, engine.interpreter_delete) {
    if (m_model == nullptr)
        throw Failure(Code::model, "The model cannot be used: it is no TensorFlow Lite file, or it is damaged.");
    if (!build(threads, true) && !build(threads, false))
        throw Failure(Code::model, "The model cannot be used: " + complaint());
}

bool Interpreter::build(int threads, bool fast) {
    m_complaint.clear();
    m_interpreter.reset();
    m_options.reset(m_engine.options_create());
    m_delegate.reset(); // the interpreter used it until now
    m_engine.options_set_threads(m_options.get(), threads);
    m_engine.options_set_error_reporter(m_options.get(), report, this);
    if (fast) {
        const DelegateOptions options{threads, 0};
        m_delegate.reset(m_engine.delegate_create != nullptr ? m_engine.delegate_create(&options) : nullptr);
        if (m_delegate == nullptr)
            return false;
        m_engine.options_add_delegate(m_options.get(), m_delegate.get());
    }
    m_interpreter.reset(m_engine.interpreter_create(m_model.get(), m_options.get()));
    return m_interpreter != nullptr && m_engine.allocate_tensors(m_interpreter.get()) == kTfLiteOk;
}

std::size_t Interpreter::input_count() const {
    return static_cast<std::size_t>(m_engine.input_count(m_interpreter.get()));
}

std::size_t Interpreter::output_count() const {
    return static_cast<std::size_t>(m_engine.output_count(m_interpreter.get()));
}

TensorView Interpreter::tensor(std::size_t index) const {
    const auto place = static_cast<std::int32_t>(index);
    const std::int32_t inputs = m_engine.input_count(m_interpreter.get());
    const TfLiteTensor* tensor = place < inputs ? m_engine.input(m_interpreter.get(), place)
                                                : m_engine.output(m_interpreter.get(), place - inputs);
    auto* data = static_cast<std::byte*>(m_engine.tensor_data(tensor));
    // A tensor that is sized as the model runs has no memory before.
    TensorView result{{}, {data, data != nullptr ? m_engine.tensor_bytes(tensor) : 0}};
    result.info.type = m_engine.tensor_type(tensor);
    const std::int32_t dimensions = m_engine.tensor_dimensions(tensor);
    for (std::int32_t axis = 0; axis < dimensions && result.info.dimensions < most_dimensions; ++axis)
        result.info.shape[result.info.dimensions++] = m_engine.tensor_dimension(tensor, axis);
    return result;
}

void Interpreter::run() {
    m_complaint.clear();
    if (m_engine.invoke(m_interpreter.get()) != kTfLiteOk)
        throw Failure(Code::inference, "The model cannot be run: " + complaint());
}

std::string Interpreter::complaint() const {
    return m_complaint.empty() ? "the engine gives no reason." : m_complaint;
}

void Interpreter::report(void* self, const char* format, std::va_list arguments) {
    std::array<char, 256> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    auto& complaint = static_cast<Interpreter*>(self)->m_complaint;
    if (!complaint.empty())
        return;
    complaint = text.data();
    while (complaint.ends_with('\n'))
        complaint.pop_back();
}

} // namespace korvex::larod
