#include "platform/larod/service_link.h"

#include "platform/common/settings.h"
#include "platform/larod/listening_socket.h"
#include "platform/larod/service_settings.h"

#include <fcntl.h>

#include <algorithm>

namespace korvex::larod {
namespace {

using namespace std::chrono_literals;

constexpr auto first_wait = 100ms;
constexpr auto last_wait = 5000ms;

bool failed(Failure& failure, Code code, std::string sentence) {
    failure = {code, std::move(sentence)};
    return false;
}

} // namespace

std::shared_ptr<ServiceLink> ServiceLink::acquire(Failure& failure) {
    static std::mutex one_at_a_time;
    static std::weak_ptr<ServiceLink> current;
    const std::lock_guard guard(one_at_a_time);
    auto link = current.lock();
    if (link == nullptr) {
        link = std::make_shared<ServiceLink>();
        current = link;
    }
    const std::lock_guard lock(link->m_mutex);
    return link->is_up(failure) ? link : nullptr;
}

bool ServiceLink::load(HeldModel& model, Failure& failure) {
    const std::lock_guard lock(m_mutex);
    return is_up(failure) && hand_over(model, failure);
}

void ServiceLink::unload(HeldModel& model) {
    const std::lock_guard lock(m_mutex);
    if (!m_socket || model.known_since != m_connection)
        return;
    send_message(m_socket.get(), message_of(Message::Kind::unload, model.number));
    model.known_since = 0;
}

bool ServiceLink::run(HeldRequest& request, Failure& failure) {
    const std::lock_guard lock(m_mutex);
    if (!is_up(failure))
        return false;
    if (request.model->known_since != m_connection && !hand_over(*request.model, failure))
        return false;
    if (!bind(request, failure))
        return false;
    Message answer;
    return ask(message_of(Message::Kind::run, 0, request.number), {}, answer, failure);
}

void ServiceLink::forget(HeldRequest& request) {
    const std::lock_guard lock(m_mutex);
    if (!m_socket || request.bound_since != m_connection)
        return;
    send_message(m_socket.get(), message_of(Message::Kind::unbind, 0, request.number));
    request.bound_since = 0;
}

bool ServiceLink::is_up(Failure& failure) {
    if (m_socket)
        return true;
    const auto now = std::chrono::steady_clock::now();
    if (now >= m_not_before)
        return connect(failure);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_not_before - now);
    return failed(failure, Code::engine,
                  "The inference service is gone; it is tried again in " + std::to_string(left.count()) + " ms.");
}

bool ServiceLink::connect(Failure& failure) {
    std::string why;
    const std::string shared = platform::environment("KORVEX_INFERENCE");
    m_socket = !shared.empty() ? connect_to(shared, why) : m_process.start(why);
    if (!m_socket) {
        leave();
        return failed(failure, Code::engine, why);
    }
    ++m_connection;
    Message ready;
    if (receive(ready, failure))
        return true;
    leave(); // it says itself why it cannot serve
    return false;
}

bool ServiceLink::hand_over(HeldModel& model, Failure& failure) {
    const int file = model.bytes->file();
    Message loaded;
    if (!ask(message_of(Message::Kind::load), {&file, 1}, loaded, failure))
        return false;
    const auto* first = loaded.tensors.data();
    std::vector<TensorInfo> inputs(first, first + loaded.inputs);
    std::vector<TensorInfo> outputs(first + loaded.inputs, first + loaded.tensor_count());
    if (model.known_since != 0 && (inputs != model.inputs || outputs != model.outputs))
        return lose("it tells other tensors of the same model", failure);
    model.inputs = std::move(inputs);
    model.outputs = std::move(outputs);
    model.number = loaded.model;
    model.known_since = m_connection;
    return true;
}

bool ServiceLink::bind(HeldRequest& request, Failure& failure) {
    std::vector<int> files;
    std::vector<std::uint64_t> times;
    for (const auto& tensor : request.tensors) {
        times.push_back(tensor->times);
        files.push_back(tensor->fd);
        if (files.back() < 0 || fcntl(files.back(), F_GETFD) < 0)
            return failed(failure, Code::descriptor,
                          (tensor->is_input ? "Input tensor " : "Output tensor ") + std::to_string(tensor->index) +
                              (files.back() < 0 ? ": No descriptor is bound." : ": Its descriptor has been closed."));
    }
    if (request.bound_since == m_connection && request.bound == times)
        return true;
    if (request.number == 0)
        request.number = ++m_last_request;
    if (!send_message(m_socket.get(), message_of(Message::Kind::bind, request.model->number, request.number), files))
        return lose("it has ended", failure);
    request.link = weak_from_this();
    request.bound_since = m_connection;
    request.bound = std::move(times);
    return true;
}

bool ServiceLink::ask(const Message& question, std::span<const int> files, Message& answer, Failure& failure) {
    if (!send_message(m_socket.get(), question, files))
        return lose("it has ended", failure);
    return receive(answer, failure);
}

bool ServiceLink::receive(Message& answer, Failure& failure) {
    std::vector<Descriptor> files;
    const auto limit = longest_answer();
    switch (receive_message(m_socket.get(), answer, files, std::chrono::steady_clock::now() + limit)) {
    case Received::message:
        if (answer.kind == Message::Kind::failed)
            return failed(failure, answer.code, sentence_of(answer));
        if (answer.kind == Message::Kind::done)
            m_wait = 0ms;
        return true;
    case Received::late:
        return lose("it did not answer within " + std::to_string(limit.count() / 1000) + " s", failure);
    case Received::closed:
        return lose("it has ended", failure);
    default:
        return lose("it says what nobody understands", failure);
    }
}

void ServiceLink::leave() {
    m_socket.reset();
    m_process.end();
    m_wait = std::clamp<std::chrono::milliseconds>(m_wait * 2, first_wait, last_wait);
    m_not_before = std::chrono::steady_clock::now() + m_wait;
}

bool ServiceLink::lose(const std::string& why, Failure& failure) {
    leave();
    return failed(failure, Code::engine, "The inference service is lost: " + why + ".");
}

} // namespace korvex::larod
