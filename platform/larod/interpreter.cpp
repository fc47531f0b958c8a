#include "platform/larod/interpreter.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace korvex::larod {

std::unique_ptr<Interpreter> Interpreter::load(std::shared_ptr<const Engine> engine, std::span<const std::byte> model,
                                               int threads, std::string& why) {
    std::unique_ptr<Interpreter> made(new Interpreter(std::move(engine)));
    made->m_model = made->m_engine->model_create(model.data(), model.size());
    if (made->m_model == nullptr) {
        why = "The model cannot be used: it is no TensorFlow Lite file, or it is damaged.";
        return nullptr;
    }
    if (!made->build(threads, true) && !made->build(threads, false)) {
        why = "The model cannot be used: " + made->complaint();
        return nullptr;
    }
    return made;
}

Interpreter::Interpreter(std::shared_ptr<const Engine> engine) : m_engine(std::move(engine)) {}

Interpreter::~Interpreter() {
    destroy();
    if (m_model != nullptr)
        m_engine->model_delete(m_model);
}

bool Interpreter::build(int threads, bool fast) {
    destroy();
    m_complaint.clear();
    m_options = m_engine->options_create();
    m_engine->options_set_threads(m_options, threads);
    m_engine->options_set_error_reporter(m_options, report, this);
    if (fast) {
        const DelegateOptions options{threads, 0};
        m_delegate = m_engine->delegate_create != nullptr ? m_engine->delegate_create(&options) : nullptr;
        if (m_delegate == nullptr)
            return false;
        m_engine->options_add_delegate(m_options, m_delegate);
    }
    m_interpreter = m_engine->interpreter_create(m_model, m_options);
    return m_interpreter != nullptr && m_engine->allocate_tensors(m_interpreter) == kTfLiteOk;
}

void Interpreter::destroy() {
    if (m_interpreter != nullptr)
        m_engine->interpreter_delete(m_interpreter);
    if (m_options != nullptr)
        m_engine->options_delete(m_options);
    if (m_delegate != nullptr)
        m_engine->delegate_delete(m_delegate); // the interpreter used it until now
    m_interpreter = nullptr;
    m_options = nullptr;
    m_delegate = nullptr;
}

std::size_t Interpreter::input_count() const {
    return static_cast<std::size_t>(m_engine->input_count(m_interpreter));
}

std::size_t Interpreter::output_count() const {
    return static_cast<std::size_t>(m_engine->output_count(m_interpreter));
}

TensorView Interpreter::input(std::size_t index) const {
    return view(m_engine->input(m_interpreter, static_cast<std::int32_t>(index)));
}

TensorView Interpreter::output(std::size_t index) const {
    return view(m_engine->output(m_interpreter, static_cast<std::int32_t>(index)));
}

TensorView Interpreter::view(const TfLiteTensor* tensor) const {
    auto* data = static_cast<std::byte*>(m_engine->tensor_data(tensor));
    // A tensor that is sized as the model runs has no memory before.
    TensorView result{{}, {data, data != nullptr ? m_engine->tensor_bytes(tensor) : 0}};
    result.info.type = m_engine->tensor_type(tensor);
    const std::int32_t dimensions = m_engine->tensor_dimensions(tensor);
    for (std::int32_t axis = 0; axis < dimensions && result.info.dimensions < most_dimensions; ++axis)
        result.info.shape[result.info.dimensions++] = m_engine->tensor_dimension(tensor, axis);
    return result;
}

bool Interpreter::run(std::string& why) {
    m_complaint.clear();
    if (m_engine->invoke(m_interpreter) == kTfLiteOk)
        return true;
    why = "The model cannot be run: " + complaint();
    return false;
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
