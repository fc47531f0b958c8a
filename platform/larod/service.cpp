#include "platform/larod/service.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

namespace korvex::larod {
namespace {

using namespace std::chrono_literals;

constexpr auto first_penalty = 100ms;
constexpr auto last_penalty = 5000ms;
constexpr std::size_t most_clients = 256;
constexpr std::size_t most_held = 64; // models and bound requests, each, of one client

std::string seconds(std::chrono::milliseconds time) {
    const auto tenths = (time.count() + 50) / 100;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

} // namespace

void Service::add_client(Descriptor socket) {
    if (m_clients.size() >= most_clients) {
        send_message(socket.get(), failure(Code::engine, "The inference service has as many clients as it can have."));
        return;
    }
    if (send_message(socket.get(), message_of(Message::Kind::ready)))
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
    // Negative descriptors are passed over by poll.
    std::vector<pollfd> waiting{{end, POLLIN, 0}, {m_listening, POLLIN, 0}};
    std::vector<Client*> clients;
    std::vector<Worker*> workers;
    for (Client& client : m_clients) {
        waiting.push_back({client.socket.get(), POLLIN, 0});
        clients.push_back(&client);
    }
    for (Worker& worker : m_workers) {
        waiting.push_back({worker.process->socket(), POLLIN, 0});
        workers.push_back(&worker);
    }
    if (poll(waiting.data(), waiting.size(), milliseconds_until(next_deadline())) <= 0)
        return true;
    if (waiting[0].revents != 0)
        return false;
    const pollfd* of_clients = waiting.data() + 2;
    const pollfd* of_workers = of_clients + clients.size();
    // Workers first: their answers are what clients wait for.
    for (std::size_t i = 0; i < workers.size(); ++i) {
        if (of_workers[i].revents != 0)
            hear(*workers[i]);
    }
    for (std::size_t i = 0; i < clients.size(); ++i) {
        if (of_clients[i].revents != 0)
            hear(*clients[i]);
    }
    if (waiting[1].revents != 0)
        accept_client();
    return true;
}

Deadline Service::next_deadline() const {
    Deadline next = never;
    for (const Worker& worker : m_workers) {
        if (worker.job)
            next = std::min(next, worker.job->limit);
    }
    for (const Job& job : m_queue)
        next = std::min(next, job.limit);
    return next;
}

void Service::accept_client() {
    Descriptor socket(accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC));
    if (socket)
        add_client(std::move(socket));
}

void Service::hear(Client& client) {
    Message message;
    std::vector<Descriptor> files;
    if (receive_message(client.socket.get(), message, files, Clock::now()) == Received::message)
        obey(client, message, std::move(files));
    else
        client.gone = true;
}

void Service::obey(Client& client, const Message& message, std::vector<Descriptor> files) {
    switch (message.kind) {
    case Message::Kind::load:
        load(client, std::move(files));
        return;
    case Message::Kind::bind:
        bind(client, message, std::move(files));
        return;
    case Message::Kind::run: {
        const auto found = client.requests.find(message.request);
        if (found == client.requests.end())
            client.gone = true;
        else
            enqueue(client, found->second.model, &found->second);
        return;
    }
    case Message::Kind::unbind:
        client.gone = client.waits || client.requests.erase(message.request) == 0;
        return;
    case Message::Kind::unload: {
        const auto held = client.models.find(message.model);
        if (held == client.models.end() || client.waits) {
            client.gone = true;
        } else {
            client.models.erase(held);
            forget_unused_models();
        }
        return;
    }
    default:
        client.gone = true;
    }
}

void Service::load(Client& client, std::vector<Descriptor> files) {
    std::string why;
    auto bytes = StoredModel::adopt(files.size() == 1 ? std::move(files[0]) : Descriptor(), why);
    if (bytes == nullptr || client.models.size() >= most_held) {
        answer(client, failure(Code::model, bytes == nullptr ? why : "This client holds too many models."));
        return;
    }
    auto known = std::find_if(m_models.begin(), m_models.end(),
                              [&](const auto& entry) { return entry.second.bytes->holds_same_as(*bytes); });
    if (known == m_models.end())
        known = m_models.emplace(++m_last_model, Model{std::move(bytes), {}}).first;
    client.models.insert(known->first);
    if (known->second.loaded)
        answer(client, *known->second.loaded);
    else
        enqueue(client, known->first, nullptr);
}

void Service::bind(Client& client, const Message& message, std::vector<Descriptor> files) {
    const auto model = m_models.find(message.model);
    const bool is_right = !client.waits && client.models.contains(message.model) && model != m_models.end() &&
                          model->second.loaded && files.size() == model->second.loaded->tensor_count() &&
                          (client.requests.size() < most_held || client.requests.contains(message.request));
    if (is_right)
        client.requests[message.request] = {message.model, std::move(files)};
    else
        client.gone = true;
}

void Service::enqueue(Client& client, std::uint32_t model, const Bound* bound) {
    if (client.waits) {
        client.gone = true;
        return;
    }
    const auto now = Clock::now();
    if (now < client.not_before) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(client.not_before - now);
        answer(client, failure(Code::inference, "The process that ran the model has ended; it is started again in " +
                                                    seconds(left) + "."));
        return;
    }
    Job job{&client, model, {}, bound != nullptr, now + m_options.limit};
    if (bound != nullptr) {
        for (const Descriptor& file : bound->files)
            job.files.push_back(file.get());
    }
    client.waits = true;
    m_queue.push_back(std::move(job));
}

void Service::answer(Client& client, const Message& message) {
    client.waits = false;
    if (message.kind != Message::Kind::failed)
        client.penalty = 0ms;
    if (!send_message(client.socket.get(), message))
        client.gone = true;
}

void Service::hear(Worker& worker) {
    Message message;
    std::vector<Descriptor> files;
    if (receive_message(worker.process->socket(), message, files, Clock::now()) == Received::message && worker.job)
        worked(worker, message);
    else
        replace(worker, worker.job && !worker.job->is_run ? "ended while it loaded the model" : "ended while it ran");
}

void Service::worked(Worker& worker, Message result) {
    const std::uint32_t number = worker.job->model;
    if (result.kind == Message::Kind::loaded) {
        result.model = number;
        worker.process->models.insert(number);
        if (const auto model = m_models.find(number); model != m_models.end())
            model->second.loaded = result;
        if (worker.job->is_run && worker.job->client != nullptr) {
            give(worker, *std::exchange(worker.job, {})); // the model has come to this worker; now what was asked
            return;
        }
    }
    const Job job = *std::exchange(worker.job, {});
    if (job.client == nullptr)
        return;
    if (result.kind == Message::Kind::failed && !job.is_run) {
        // A model that cannot be loaded is not held.
        job.client->models.erase(job.client->models.find(number));
        forget_unused_models();
    }
    answer(*job.client, result);
}

void Service::replace(Worker& worker, const std::string& what) {
    const std::optional<Job> job = std::exchange(worker.job, {});
    m_workers.remove_if([&](const Worker& other) { return &other == &worker; });
    if (!job || job->client == nullptr)
        return;
    Client& client = *job->client;
    if (!job->is_run) {
        client.models.erase(client.models.find(job->model));
        forget_unused_models();
    }
    client.penalty = std::clamp<std::chrono::milliseconds>(client.penalty * 2, first_penalty, last_penalty);
    client.not_before = Clock::now() + client.penalty;
    answer(client, failure(job->is_run ? Code::inference : Code::model, "The process of the inference " + what + "."));
}

void Service::hand_out_work() {
    while (!m_queue.empty()) {
        const auto& loaded = m_models.at(m_queue.front().model).loaded;
        const bool is_done = !m_queue.front().is_run && loaded; // for another client, meanwhile
        Worker* worker = is_done ? nullptr : worker_for(m_queue.front().model);
        if (!is_done && worker == nullptr)
            return;
        Job job = std::move(m_queue.front());
        m_queue.pop_front();
        if (is_done) {
            answer(*job.client, *loaded);
            continue;
        }
        job.limit = Clock::now() + m_options.limit;
        give(*worker, std::move(job));
    }
}

Service::Worker* Service::worker_for(std::uint32_t model) {
    Worker* idle = nullptr;
    for (Worker& worker : m_workers) {
        if (worker.job)
            continue;
        if (worker.process->models.contains(model))
            return &worker;
        idle = &worker;
    }
    if (idle != nullptr || m_workers.size() >= m_options.workers)
        return idle;
    auto process = WorkerProcess::start(m_worker_options);
    if (process == nullptr)
        return nullptr; // what waits is told so when its time is up
    return &m_workers.emplace_back(Worker{std::move(process), {}});
}

bool Service::give(Worker& worker, Job job) {
    const int socket = worker.process->socket();
    bool sent = false;
    if (!worker.process->models.contains(job.model)) {
        const int file = m_models.at(job.model).bytes->file();
        sent = send_message(socket, message_of(Message::Kind::load, job.model), {&file, 1});
    } else {
        sent = send_message(socket, message_of(Message::Kind::run, job.model), job.files);
    }
    worker.job = std::move(job);
    if (!sent)
        replace(worker, "ended");
    return sent;
}

void Service::check_limits() {
    const auto now = Clock::now();
    std::vector<Worker*> late;
    for (Worker& worker : m_workers) {
        if (worker.job && now >= worker.job->limit)
            late.push_back(&worker);
    }
    for (Worker* worker : late)
        replace(*worker, "did not answer within " + seconds(m_options.limit) + " and was ended");
    while (!m_queue.empty() && now >= m_queue.front().limit) {
        const Job job = std::move(m_queue.front());
        m_queue.pop_front();
        if (!job.is_run)
            job.client->models.erase(job.client->models.find(job.model));
        answer(*job.client,
               failure(Code::inference, "No process for the inference was free for " + seconds(m_options.limit) + "."));
    }
}

void Service::forget_gone_clients() {
    const auto is_gone = [](const Client& client) { return client.gone; };
    if (std::none_of(m_clients.begin(), m_clients.end(), is_gone))
        return;
    for (const Client& client : m_clients) {
        if (!client.gone)
            continue;
        std::erase_if(m_queue, [&](const Job& job) { return job.client == &client; });
        for (Worker& worker : m_workers) {
            if (worker.job && worker.job->client == &client)
                worker.job->client = nullptr;
        }
    }
    m_clients.remove_if(is_gone);
    forget_unused_models();
}

void Service::forget_unused_models() {
    for (auto model = m_models.begin(); model != m_models.end();) {
        const std::uint32_t number = model->first;
        const bool used = std::any_of(m_clients.begin(), m_clients.end(),
                                      [&](const Client& client) { return client.models.contains(number); });
        if (used) {
            ++model;
            continue;
        }
        for (Worker& worker : m_workers) {
            if (worker.process->models.erase(number) != 0)
                send_message(worker.process->socket(), message_of(Message::Kind::unload, number));
        }
        model = m_models.erase(model);
    }
}

} // namespace korvex::larod
