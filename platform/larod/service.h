#pragma once

#include "platform/larod/message.h"
#include "platform/larod/penalty.h"
#include "platform/larod/service_settings.h"
#include "platform/larod/stored_model.h"
#include "platform/larod/worker.h"

#include <deque>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvex::larod {

/**
 * Serves clients with inferences, from one thread: holds the models, each once for all who bring the same bytes, hands
 * work to worker processes and answers. A client has one thing done at a time and the oldest waiting one is next, so
 * everybody has a turn. Workers are started when there is something to do for them.
 *
 *   client --load, run--> queue --> idle worker (one that has the model, if there is) --loaded, done, failed--> client
 *
 * A client that does not keep to the messages or does not read its answers is dropped. A worker that ends or takes too
 * long is replaced; the client it worked for hears so and waits before it may try again (0.1 s, doubled up to 5 s,
 * until something of it succeeds), the others go on.
 */
class Service {
  public:
    /** `engine` outlives the service; the workers' stderr is the file. */
    Service(const Engine& engine, ServiceOptions options, int workers_stderr)
        : m_engine(engine), m_options(options), m_workers_stderr(workers_stderr) {}

    /** A connected socket of this service from now on. */
    void add_client(Descriptor socket);
    /** A listening socket; it stays the caller's. */
    void listen_on(int socket) { m_listening = socket; }

    /**
     * Serves until `end` can be read from (-1: never), or the last client of a service that does not listen is gone.
     */
    void run(int end);

  private:
    struct Model {
        StoredModel bytes;
        std::optional<Message> loaded; // what a worker told of it
    };

    struct Bound {
        std::uint32_t model = 0;
        std::vector<Descriptor> files;
    };

    struct Client {
        Descriptor socket;
        std::multiset<std::uint32_t> models;
        std::map<std::uint32_t, Bound> requests;
        bool waits = false; // for an answer; whoever asks for anything meanwhile is dropped
        bool gone = false;
        Penalty penalty;
    };

    struct Job {
        Client* client = nullptr; // null when it has gone meanwhile
        std::uint32_t model = 0;
        const Bound* bound = nullptr; // the client's, of a run; null of a load
        Deadline limit = never;
    };

    struct Worker {
        WorkerProcess process;
        std::set<std::uint32_t> models; // loaded there
        std::optional<Job> job;
    };

    /** False when the end has come. */
    bool wait_for_something(int end);
    Deadline next_deadline() const;
    void hear(Client& client);
    /** Throws a Failure for the client to hear, or what drops it. */
    void obey(Client& client, const Message& message, std::vector<Descriptor> files);
    void load(Client& client, std::vector<Descriptor> files);
    void bind(Client& client, const Message& message, std::vector<Descriptor> files);
    void enqueue(Client& client, std::uint32_t model, const Bound* bound);
    void answer(Client& client, const Message& message);
    void hear(Worker& worker);
    /** The worker ended, or is ended now; `what` completes "The process of the inference ...". */
    void replace(Worker& worker, const std::string& what);
    void finish(const Job& job, const Message& result);
    void hand_out_work();
    Worker* worker_for(std::uint32_t model);
    void give(Worker& worker, const Job& job);
    void check_limits();
    void release(Client& client, std::uint32_t model);
    void forget_gone_clients();
    void forget_unused_models();

    const Engine& m_engine;
    const ServiceOptions m_options;
    const int m_workers_stderr;
    int m_listening = -1;
    std::list<Client> m_clients;
    std::map<std::uint32_t, Model> m_models;
    std::uint32_t m_last_model = 0;
    std::deque<Job> m_queue; // the oldest first
    std::list<Worker> m_workers;
};

} // namespace korvex::larod
