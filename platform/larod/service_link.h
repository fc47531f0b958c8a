#pragma once

#include "base/thread_safety.h"
#include "platform/larod/message.h"
#include "platform/larod/penalty.h"
#include "platform/larod/stored_model.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace korvex::larod {

class ServiceLink;

/** A model as the application holds it. */
struct Model {
    /** Copies the file's bytes; throws a Failure. */
    explicit Model(int fd) : bytes(StoredModel::copy(fd)) {}

    const StoredModel bytes;
    // Known once it is loaded; inputs come first.
    std::vector<TensorInfo> tensors;
    std::size_t inputs = 0;
    std::weak_ptr<ServiceLink> link;
};

/** One tensor of a model, shared by the handles and the requests that use it. */
struct Binding {
    Binding(std::shared_ptr<Model> model, std::size_t place) : owner(std::move(model)), index(place) {}

    const std::shared_ptr<Model> owner;
    const std::size_t index;
    /** -1 before a descriptor is bound, and after the tensor has been destroyed. */
    std::atomic<int> fd{-1};
    /** Counts the bindings: another file may have the same number. */
    std::atomic<std::uint64_t> times{0};

    void bind_to(int descriptor) {
        fd = descriptor;
        ++times;
    }
};

/** The tensors of one request, in the model's order. */
struct Request {
    explicit Request(std::shared_ptr<Model> of) : model(std::move(of)) {}
    ~Request();
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    const std::shared_ptr<Model> model;
    std::vector<std::shared_ptr<Binding>> tensors;
};

/**
 * An application's way to the inference service: the one that KORVEX_INFERENCE names, or one of its own that it starts.
 * A service that is gone, does not answer or says rubbish is left (its own one is ended), and the call fails; the calls
 * after it fail at once until a wait is over (0.1 s, doubled up to 5 s while it goes on), and then connect and start it
 * again and hand over the model and the tensors. Any thread; one call at a time. What fails throws a Failure.
 */
class ServiceLink : public std::enable_shared_from_this<ServiceLink> {
  public:
    /** The process's one way, which lives as long as somebody holds it. */
    static std::shared_ptr<ServiceLink> acquire();

    /** Fills the model's tensors in. */
    void load(Model& model);
    void unload(const Model& model);
    void run(const Request& request);
    void forget(const Request& request);

  private:
    struct Bound {
        std::uint32_t number = 0;
        std::vector<std::uint64_t> times; // of the tensors' bindings
    };

    void need_service() REQUIRES(m_mutex);
    void connect() REQUIRES(m_mutex);
    void start() REQUIRES(m_mutex);
    void hand_over(Model& model) REQUIRES(m_mutex);
    std::uint32_t bind(const Request& request) REQUIRES(m_mutex);
    void send(const Message& message, std::span<const int> files = {}) REQUIRES(m_mutex);
    /** Waits for an answer that is no `failed`. */
    Message receive() REQUIRES(m_mutex);
    /** Gives the service up until the next wait is over. */
    void leave() REQUIRES(m_mutex);
    /** The same, and says why. */
    [[noreturn]] void lose(const std::string& why) REQUIRES(m_mutex);

    annotated_mutex m_mutex;
    platform::Child m_process GUARDED_BY(m_mutex); // none of a shared service
    Descriptor m_socket GUARDED_BY(m_mutex);
    // What was told on this socket, and the service's number for each.
    std::map<const Model*, std::uint32_t> m_models GUARDED_BY(m_mutex);
    std::map<const Request*, Bound> m_requests GUARDED_BY(m_mutex);
    std::uint32_t m_last_request GUARDED_BY(m_mutex) = 0;
    Penalty m_penalty GUARDED_BY(m_mutex);
};

} // namespace korvex::larod
