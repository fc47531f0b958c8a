#include "platform/larod/interpreter.h"

#include "platform/larod/checked_gather.h"
#include "platform/larod/model_file.h"
#include "platform/larod/thread_pool.h"
#include "platform/larod/xnnpack_kernels.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace korvex::larod {

using tflite::Status;
using tflite::TfliteLibrary;

namespace {

/** Kernels may read this far behind the last stored value. */
constexpr std::size_t room_behind = 64;

} // namespace

std::shared_ptr<Interpreter> Interpreter::load(std::shared_ptr<const TfliteLibrary> library,
                                               std::vector<std::byte> model, std::string& why) {
    if (const std::string problem = what_is_wrong_with(model); !problem.empty()) {
        why = "The model cannot be used: " + problem + ".";
        return nullptr;
    }
    std::shared_ptr<Interpreter> made(new Interpreter(std::move(library), std::move(model)));
    if (!made->build(true) && (made->m_complaint == impossible_convolution || !made->build(false))) {
        why = "The model cannot be used: " +
              (made->m_complaint.empty() ? "the engine gives no reason." : made->m_complaint);
        return nullptr;
    }
    return made;
}

Interpreter::Interpreter(std::shared_ptr<const TfliteLibrary> library, std::vector<std::byte> model)
    : m_library(std::move(library)), m_pool(shared_thread_pool()), m_bytes(std::move(model)) {
    const std::size_t size = m_bytes.size();
    m_bytes.resize(size + room_behind);
    m_model = m_library->model_create(m_bytes.data(), size);
    if (m_model == nullptr)
        m_complaint = "the engine finds that its file is broken.";
}

Interpreter::~Interpreter() {
    destroy();
    if (m_model != nullptr)
        m_library->model_delete(m_model);
}

bool Interpreter::build(bool fast) {
    destroy();
    if (m_model == nullptr)
        return false;
    m_complaint.clear();
    m_options = m_library->options_create();
    m_library->options_set_threads(m_options, thread_count());
    m_library->options_set_error_reporter(m_options, report, this);
    if (m_library->has_known_layout()) {
        add_checked_gather(*m_library, m_options);
        if (fast && (m_pool == nullptr || !add_xnnpack_kernels(*m_library, m_options)))
            return false;
    }
    m_interpreter = m_library->interpreter_create(m_model, m_options);
    return m_interpreter != nullptr && m_library->allocate_tensors(m_interpreter) == Status::ok;
}

void Interpreter::destroy() {
    if (m_interpreter != nullptr)
        m_library->interpreter_delete(m_interpreter);
    if (m_options != nullptr)
        m_library->options_delete(m_options);
    m_interpreter = nullptr;
    m_options = nullptr;
}

std::size_t Interpreter::input_count() const {
    return static_cast<std::size_t>(m_library->input_count(m_interpreter));
}

std::size_t Interpreter::output_count() const {
    return static_cast<std::size_t>(m_library->output_count(m_interpreter));
}

TensorView Interpreter::input(std::size_t index) const {
    return view(m_library->input(m_interpreter, static_cast<std::int32_t>(index)));
}

TensorView Interpreter::output(std::size_t index) const {
    return view(m_library->output(m_interpreter, static_cast<std::int32_t>(index)));
}

TensorView Interpreter::view(const tflite::Tensor* tensor) const {
    TensorView result{
        m_library->tensor_type(tensor), {}, m_library->tensor_bytes(tensor), m_library->tensor_data(tensor)};
    const std::int32_t dimensions = m_library->tensor_dimensions(tensor);
    for (std::int32_t axis = 0; axis < dimensions; ++axis)
        result.shape.push_back(m_library->tensor_dimension(tensor, axis));
    return result;
}

bool Interpreter::run(std::string& why) {
    m_complaint.clear();
    const ThreadAlone alone(m_pace.alone());
    const auto begin = std::chrono::steady_clock::now();
    const Status status = m_library->invoke(m_interpreter);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
    m_pace.took(time.count());
    if (status == Status::ok)
        return true;
    why = "The model cannot be run: " + (m_complaint.empty() ? "the engine gives no reason." : m_complaint);
    return false;
}

void Interpreter::report(void* self, const char* format, std::va_list arguments) {
    std::array<char, 512> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    // The first complaint names the cause; those that follow only say what it led to.
    auto& complaint = static_cast<Interpreter*>(self)->m_complaint;
    if (complaint.empty())
        complaint = text.data();
}

} // namespace korvex::larod
