#pragma once

#include "platform/larod/message.h"
#include "platform/larod/service_process.h"
#include "platform/larod/stored_model.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace korvex::larod {

/** A model as the application holds it. The service is told of it anew whenever the link has been made anew. */
struct HeldModel {
    std::unique_ptr<StoredModel> bytes;
    std::vector<TensorInfo> inputs;
    std::vector<TensorInfo> outputs;

    // The link's alone.
    std::uint64_t known_since = 0; // the number of the link's connection in which the service has it
    std::uint32_t number = 0;
};

/** One tensor of a model, shared by the handles and the requests that use it. */
struct Binding {
    Binding(std::shared_ptr<HeldModel> model, std::size_t place, bool input)
        : owner(std::move(model)), index(place), is_input(input) {}

    const std::shared_ptr<HeldModel> owner;
    const std::size_t index;
    const bool is_input;
    /** -1 before a descriptor is bound, and after the tensor has been destroyed. */
    std::atomic<int> fd{-1};
    /** Counts the bindings: another file may have the same number. */
    std::atomic<std::uint64_t> times{0};

    void bind_to(int descriptor) {
        fd = descriptor;
        ++times;
    }
};

class ServiceLink;

/** The tensors of one request, inputs first, each in the model's order. */
struct HeldRequest {
    std::shared_ptr<HeldModel> model;
    std::vector<std::shared_ptr<Binding>> tensors;

    // The link's alone.
    std::weak_ptr<ServiceLink> link;
    std::uint64_t bound_since = 0;
    std::uint32_t number = 0;
    std::vector<std::uint64_t> bound; // the tensors' times
};

/** Of whatever failed: the interface's code and a sentence. */
struct Failure {
    Code code = Code::engine;
    std::string sentence;
};

/**
 * An application's way to the inference service: the one that KORVEX_INFERENCE names, or one of its own that it starts.
 * A service that is gone, does not answer or says rubbish is left (its own one is ended), and the call fails; the calls
 * after it fail at once until a wait is over (0.1 s, doubled up to 5 s while it goes on), and then connect and start it
 * again and hand over the model and the tensors. Any thread; one call at a time.
 */
class ServiceLink : public std::enable_shared_from_this<ServiceLink> {
  public:
    /** The process's one way, which lives as long as somebody holds it. Null with `failure` set. */
    static std::shared_ptr<ServiceLink> acquire(Failure& failure);

    /** Fills the model's tensors in; false with `failure` set when it cannot be loaded. */
    bool load(HeldModel& model, Failure& failure);
    void unload(HeldModel& model);
    bool run(HeldRequest& request, Failure& failure);
    void forget(HeldRequest& request);

  private:
    bool is_up(Failure& failure);
    bool connect(Failure& failure);
    bool hand_over(HeldModel& model, Failure& failure);
    bool bind(HeldRequest& request, Failure& failure);
    /** Sends and waits for the answer, which is not a `failed` when the result is true. */
    bool ask(const Message& question, std::span<const int> files, Message& answer, Failure& failure);
    bool receive(Message& answer, Failure& failure);
    /** Gives the service up until the next wait is over. */
    void leave();
    /** The same; gives false. */
    bool lose(const std::string& why, Failure& failure);

    std::mutex m_mutex;
    ServiceProcess m_process;
    Descriptor m_socket;
    std::uint64_t m_connection = 0; // counts them
    std::uint32_t m_last_request = 0;
    Deadline m_not_before{};
    std::chrono::milliseconds m_wait{0};
};

} // namespace korvex::larod
