#include "platform/larod/service.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <functional>

namespace korvex::larod {
namespace {

constexpr std::size_t most_clients = 256;
constexpr std::size_t most_held = 64; // models and bound requests, each, of one client

/** Thrown when a client does not keep to the messages. */
struct Rudeness {};

void expect(bool is_kept) {
    if (!is_kept)
        throw Rudeness();
}

std::string seconds(std::chrono::milliseconds time) {
    const auto tenths = (time.count() + 50) / 100;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

} // namespace

void Service::add_client(Descriptor socket) {
    if (m_clients.size() >= most_clients)
        send_message(socket.get(),
                     message_of({Code::engine, "The inference service has as many clients as it can have."}));
    else if (send_message(socket.get(), {.kind = Message::Kind::ready}))
        m_clients.emplace_back().socket = std::move(socket);
}

void Service::run(int end) {
    while ((m_listening >= 0 || !m_clients.empty()) && wait_for_something(end)) {
        check_limits();
        forget_gone_clients();
        hand_out_work();
    }
}

bool Service::wait_for_something(int end) {
    std::vector<pollfd> waiting{{end, POLLIN, 0}};
    std::vector<std::function<void()>> heard{[] {}}; // what follows when there is something at each
    const auto watch = [&](int socket, std::function<void()> then) {
        waiting.push_back({socket, POLLIN, 0}); // poll passes over negative ones
        heard.push_back(std::move(then));
    };
    // Workers first: their answers are what clients wait for.
    for (Worker& worker : m_workers)
        watch(worker.process.socket.get(), [this, &worker] { hear(worker); });
    for (Client& client : m_clients)
        watch(client.socket.get(), [this, &client] { hear(client); });
    watch(m_listening, [this] { add_client(Descriptor(accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC))); });
    if (poll(waiting.data(), waiting.size(), milliseconds_until(next_deadline())) <= 0)
        return true;
    if (waiting[0].revents != 0)
        return false;
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        if (waiting[i].revents != 0)
            heard[i]();
    }
    return true;
}

Deadline Service::next_deadline() const {
    Deadline next = m_queue.empty() ? never : m_queue.front().limit;
    for (const Worker& worker : m_workers) {
        if (worker.job)
            next = std::min(next, worker.job->limit);
    }
    return next;
}

void Service::hear(Client& client) {
    Message message;
    std::vector<Descriptor> files;
    try {
        expect(receive_message(client.socket.get(), message, files, Deadline::clock::now()) == Received::message);
        obey(client, message, std::move(files));
    } catch (const Failure& failure) {
        answer(client, message_of(failure));
        forget_unused_models(); // what was begun for it is not held
    } catch (const Rudeness&) {
        client.gone = true;
    }
}

void Service::obey(Client& client, const Message& message, std::vector<Descriptor> files) {
    expect(!client.waits);
    switch (message.kind) {
    case Message::Kind::load:
        load(client, std::move(files));
        return;
    case Message::Kind::bind:
        bind(client, message, std::move(files));
        return;
    case Message::Kind::run: {
        const auto found = client.requests.find(message.request);
        expect(found != client.requests.end() && client.models.contains(found->second.model));
        enqueue(client, found->second.model, &found->second);
        return;
    }
    case Message::Kind::unbind:
        expect(client.requests.erase(message.request) != 0);
        return;
    case Message::Kind::unload:
        expect(client.models.contains(message.model));
        release(client, message.model);
        return;
    default:
        throw Rudeness();
    }
}

void Service::load(Client& client, std::vector<Descriptor> files) {
    auto bytes = StoredModel::adopt(files.size() == 1 ? std::move(files[0]) : Descriptor());
    if (client.models.size() >= most_held)
        throw Failure(Code::model, "This client holds too many models.");
    auto known = std::find_if(m_models.begin(), m_models.end(),
                              [&](const auto& entry) { return entry.second.bytes.holds_same_as(bytes); });
    if (known == m_models.end())
        known = m_models.emplace(++m_last_model, Model{std::move(bytes), {}}).first;
    if (known->second.loaded)
        answer(client, *known->second.loaded);
    else
        enqueue(client, known->first, nullptr);
    client.models.insert(known->first);
}

void Service::bind(Client& client, const Message& message, std::vector<Descriptor> files) {
    expect(client.models.contains(message.model));
    const auto& loaded = m_models.at(message.model).loaded;
    expect(loaded && files.size() == loaded->tensor_count());
    expect(client.requests.size() < most_held || client.requests.contains(message.request));
    client.requests[message.request] = {message.model, std::move(files)};
}

void Service::enqueue(Client& client, std::uint32_t model, const Bound* bound) {
    if (const auto left = client.penalty.left(); left.count() > 0)
        throw Failure(Code::inference,
                      "The process that ran the model has ended; it is started again in " + seconds(left) + ".");
    client.waits = true;
    m_queue.push_back({&client, model, bound, Deadline::clock::now() + m_options.limit});
}

void Service::answer(Client& client, const Message& message) {
    client.waits = false;
    if (message.kind != Message::Kind::failed)
        client.penalty.lift();
    if (!send_message(client.socket.get(), message))
        client.gone = true;
}

void Service::hear(Worker& worker) {
    Message result;
    std::vector<Descriptor> files;
    const auto received = receive_message(worker.process.socket.get(), result, files, Deadline::clock::now());
    if (received != Received::message || !worker.job) {
        const bool loads = worker.job && worker.job->bound == nullptr;
        replace(worker, loads ? "ended while it loaded the model" : "ended while it ran");
        return;
    }
    const Job job = *std::exchange(worker.job, {});
    if (result.kind == Message::Kind::loaded) {
        result.model = job.model;
        worker.models.insert(job.model);
        if (const auto model = m_models.find(job.model); model != m_models.end())
            model->second.loaded = result;
        if (job.bound != nullptr && job.client != nullptr) {
            give(worker, job); // the model has come to this worker; now what was asked
            return;
        }
    }
    finish(job, result);
}

void Service::replace(Worker& worker, const std::string& what) {
    const Job job = std::exchange(worker.job, {}).value_or(Job());
    m_workers.remove_if([&](const Worker& other) { return &other == &worker; });
    if (job.client != nullptr)
        job.client->penalty.add();
    finish(job, message_of({job.bound != nullptr ? Code::inference : Code::model,
                            "The process of the inference " + what + "."}));
}

void Service::finish(const Job& job, const Message& result) {
    if (job.client == nullptr)
        return;
    if (result.kind == Message::Kind::failed && job.bound == nullptr)
        release(*job.client, job.model); // a model that cannot be loaded is not held
    answer(*job.client, result);
}

void Service::hand_out_work() {
    while (!m_queue.empty()) {
        Job job = m_queue.front();
        const auto& loaded = m_models.at(job.model).loaded;
        const bool is_done = job.bound == nullptr && loaded; // for another client, meanwhile
        Worker* worker = is_done ? nullptr : worker_for(job.model);
        if (!is_done && worker == nullptr)
            return;
        m_queue.pop_front();
        job.limit = Deadline::clock::now() + m_options.limit;
        if (is_done)
            finish(job, *loaded);
        else
            give(*worker, job);
    }
}

Service::Worker* Service::worker_for(std::uint32_t model) {
    Worker* idle = nullptr;
    for (Worker& worker : m_workers) {
        if (worker.job)
            continue;
        if (worker.models.contains(model))
            return &worker;
        idle = &worker;
    }
    if (idle != nullptr || m_workers.size() >= m_options.workers)
        return idle;
    auto started = start_worker(m_engine, m_options.threads, m_workers_stderr);
    if (!started.process)
        return nullptr; // what waits is told so when its time is up
    return &m_workers.emplace_back(Worker{std::move(started), {}, {}});
}

void Service::give(Worker& worker, const Job& job) {
    const bool has_model = worker.models.contains(job.model);
    std::vector<int> files;
    if (!has_model)
        files = {m_models.at(job.model).bytes.file()};
    else if (job.bound != nullptr)
        std::ranges::transform(job.bound->files, std::back_inserter(files), &Descriptor::get);
    worker.job = job;
    const Message order{.kind = has_model ? Message::Kind::run : Message::Kind::load, .model = job.model};
    if (!send_message(worker.process.socket.get(), order, files))
        replace(worker, "ended");
}

void Service::check_limits() {
    const auto now = Deadline::clock::now();
    for (auto next = m_workers.begin(); next != m_workers.end();) {
        Worker& worker = *next++;
        if (worker.job && now >= worker.job->limit)
            replace(worker, "did not answer within " + seconds(m_options.limit) + " and was ended");
    }
    while (!m_queue.empty() && now >= m_queue.front().limit) {
        const Job job = m_queue.front();
        m_queue.pop_front();
        finish(job, message_of({Code::inference,
                                "No process for the inference was free for " + seconds(m_options.limit) + "."}));
    }
}

void Service::release(Client& client, std::uint32_t model) {
    client.models.erase(client.models.find(model));
    forget_unused_models();
}

void Service::forget_gone_clients() {
    const auto is_gone = [](const Client& client) { return client.gone; };
    if (std::ranges::none_of(m_clients, is_gone))
        return;
    std::erase_if(m_queue, [](const Job& job) { return job.client->gone; });
    for (Worker& worker : m_workers) {
        if (worker.job && worker.job->client != nullptr && worker.job->client->gone)
            worker.job->client = nullptr;
    }
    m_clients.remove_if(is_gone);
    forget_unused_models();
}

void Service::forget_unused_models() {
    std::erase_if(m_models, [this](const auto& entry) {
        const std::uint32_t number = entry.first;
        if (std::ranges::any_of(m_clients, [&](const Client& client) { return client.models.contains(number); }))
            return false;
        for (Worker& worker : m_workers) {
            if (worker.models.erase(number) != 0)
                send_message(worker.process.socket.get(), {.kind = Message::Kind::unload, .model = number});
        }
        return true;
    });
}

} // namespace korvex::larod
