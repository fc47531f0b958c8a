#include "platform/larod/service_link.h"

#include "base/thread_safety.h"
#include "platform/common/settings.h"
#include "platform/larod/listening_socket.h"
#include "platform/larod/service_settings.h"

#include <fcntl.h>
#include <spawn.h>

#include <filesystem>
#include <utility>

namespace korvex::larod {
namespace {

constexpr int services_socket = 3; // the first after the standard ones

/** KORVEX_LAROD_SERVICE, or korvex_larod beside the program that runs, or else the one that was built with it. */
std::string program() {
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).replace_filename("korvex_larod");
    return platform::environment_or("KORVEX_LAROD_SERVICE", std::filesystem::exists(beside, ignored)
                                                                ? beside.string()
                                                                : KORVEX_LAROD_DEFAULT_SERVICE);
}

} // namespace

Request::~Request() {
    if (const auto link = model->link.lock())
        link->forget(*this);
}

std::shared_ptr<ServiceLink> ServiceLink::acquire() {
    static annotated_mutex one_at_a_time;
    static std::weak_ptr<ServiceLink> current;
    const annotated_lock guard(one_at_a_time);
    auto link = current.lock();
    if (link == nullptr)
        current = link = std::make_shared<ServiceLink>();
    const annotated_lock lock(link->m_mutex);
    link->need_service();
    return link;
}

void ServiceLink::load(Model& model) {
    const annotated_lock lock(m_mutex);
    need_service();
    hand_over(model);
    model.link = weak_from_this();
}

void ServiceLink::unload(const Model& model) {
    const annotated_lock lock(m_mutex);
    if (const auto told = m_models.extract(&model))
        send_message(m_socket.get(), {.kind = Message::Kind::unload, .model = told.mapped()});
}

void ServiceLink::run(const Request& request) {
    const annotated_lock lock(m_mutex);
    need_service();
    if (!m_models.contains(request.model.get()))
        hand_over(*request.model);
    send({.kind = Message::Kind::run, .request = bind(request)});
    if (receive().kind == Message::Kind::done)
        m_penalty.lift();
}

void ServiceLink::forget(const Request& request) {
    const annotated_lock lock(m_mutex);
    if (const auto told = m_requests.extract(&request))
        send_message(m_socket.get(), {.kind = Message::Kind::unbind, .request = told.mapped().number});
}

void ServiceLink::need_service() {
    if (m_socket)
        return;
    if (const auto left = m_penalty.left(); left.count() > 0)
        throw Failure(Code::engine,
                      "The inference service is gone; it is tried again in " + std::to_string(left.count()) + " ms.");
    try {
        connect();
    } catch (const Failure&) {
        leave(); // it says itself why it cannot serve
        throw;
    }
}

void ServiceLink::connect() {
    const std::string shared = platform::environment("KORVEX_INFERENCE");
    if (shared.empty())
        start();
    else
        m_socket = connect_to(shared);
    receive();
}

void ServiceLink::start() {
    auto [own, services] = connected_sockets();
    if (!own)
        throw Failure(Code::engine, std::string("no socket can be made for it: ") + std::strerror(errno));
    // Its signals are as a program expects them, whatever this process blocks and ignores.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, services.get(), services_socket);
    const std::string path = program();
    std::string name = "korvex_larod";
    std::string option = "--client";
    std::string value = std::to_string(services_socket);
    const std::array<char*, 4> arguments{name.data(), option.data(), value.data(), nullptr};
    pid_t process = -1;
    const int failure = posix_spawn(&process, path.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failure != 0)
        throw Failure(Code::engine, path + " cannot be started: " + std::strerror(failure));
    m_process = platform::Child(process);
    m_socket = std::move(own);
}

void ServiceLink::hand_over(Model& model) {
    const int file = model.bytes.file();
    send({.kind = Message::Kind::load}, {&file, 1});
    const Message loaded = receive();
    const std::vector<TensorInfo> tensors(loaded.tensors.data(), loaded.tensors.data() + loaded.tensor_count());
    if (!model.tensors.empty() && (tensors != model.tensors || loaded.inputs != model.inputs))
        lose("it tells other tensors of the same model");
    model.tensors = tensors;
    model.inputs = loaded.inputs;
    m_models[&model] = loaded.model;
}

std::uint32_t ServiceLink::bind(const Request& request) {
    std::vector<int> files;
    std::vector<std::uint64_t> times;
    for (const auto& tensor : request.tensors) {
        times.push_back(tensor->times);
        files.push_back(tensor->fd);
        if (files.back() < 0 || fcntl(files.back(), F_GETFD) < 0)
            throw Failure(Code::descriptor,
                          tensor_name(tensor->index, request.model->inputs) +
                              (files.back() < 0 ? ": No descriptor is bound." : ": Its descriptor has been closed."));
    }
    Bound& bound = m_requests[&request];
    if (bound.number == 0)
        bound.number = ++m_last_request;
    else if (bound.times == times)
        return bound.number;
    bound.times = std::move(times);
    const std::uint32_t number = bound.number;
    send({.kind = Message::Kind::bind, .model = m_models.at(request.model.get()), .request = number}, files);
    return number;
}

void ServiceLink::send(const Message& message, std::span<const int> files) {
    if (!send_message(m_socket.get(), message, files))
        lose("it has ended");
}

Message ServiceLink::receive() {
    Message answer;
    std::vector<Descriptor> files;
    const auto limit = longest_answer();
    switch (receive_message(m_socket.get(), answer, files, Deadline::clock::now() + limit)) {
    case Received::message:
        if (answer.kind == Message::Kind::failed)
            throw Failure{answer.code, answer.text.data()};
        return answer;
    case Received::late:
        lose("it did not answer within " + std::to_string(limit.count() / 1000) + " s");
    case Received::closed:
        lose("it has ended");
    default:
        lose("it says what nobody understands");
    }
}

void ServiceLink::leave() {
    m_socket.reset();
    m_process.reset();
    m_models.clear();
    m_requests.clear();
    m_penalty.add();
}

void ServiceLink::lose(const std::string& why) {
    leave();
    throw Failure(Code::engine, "The inference service is lost: " + why + ".");
}

} // namespace korvex::larod
