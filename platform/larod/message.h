#pragma once

#include "platform/common/descriptor.h"
#include "platform/larod/failure.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace korvex::larod {

using platform::Descriptor;

constexpr std::uint32_t most_dimensions = 6;
constexpr std::size_t most_tensors = 16; // inputs and outputs of a model together

/** What is known of a tensor without its bytes. */
struct TensorInfo {
    /** The engine's number for the type of an element; some of them follow. */
    std::int32_t type = 0;
    std::uint32_t dimensions = 0;
    std::array<std::int32_t, most_dimensions> shape{};

    friend bool operator==(const TensorInfo&, const TensorInfo&) = default;
};

constexpr std::int32_t float32_type = 1;
constexpr std::int32_t uint8_type = 3;
constexpr std::int32_t string_type = 5;

/** "Input tensor 0" of a model that has so many inputs; its outputs follow them. */
std::string tensor_name(std::size_t index, std::size_t inputs);

/**
 * What the application, the inference service and its workers say to each other, each on a socket of its own. The bytes
 * of models and tensors stay in files, whose descriptors travel with the message that is named here.
 *
 *   application -> service              service -> application
 *   (connects)                          ready | failed
 *   load + the model's file             loaded: model, tensors | failed
 *   bind: request, model + its tensors' files, inputs first
 *   run: request                        done | failed
 *   unbind: request; unload: model
 *
 *   service -> worker                   worker -> service
 *   load: model + its file              loaded: tensors | failed
 *   run: model + the tensors' files     done | failed
 *   unload: model
 */
struct Message {
    enum class Kind : std::uint32_t { ready, failed, load, loaded, unload, bind, unbind, run, done };

    Kind kind = Kind::failed;
    /** The service's number for a model; the same bytes have the same number. */
    std::uint32_t model = 0;
    /** The application's number for a set of bound tensors. */
    std::uint32_t request = 0;
    std::uint32_t inputs = 0;
    std::uint32_t outputs = 0;
    /** Of `failed`, with the sentence in `text`, which ends with a zero. */
    Code code = Code::inference;
    std::array<TensorInfo, most_tensors> tensors{}; // of `loaded`, inputs first
    std::array<char, 640> text{};

    std::size_t tensor_count() const { return std::size_t{inputs} + outputs; }
};

Message message_of(const Failure& failure);

using Deadline = std::chrono::steady_clock::time_point;
/** A deadline that never comes. */
constexpr Deadline never = Deadline::max();

/** Milliseconds until then for poll(2): at least 0, -1 for never. */
int milliseconds_until(Deadline deadline);

/** The ends of a new connection; none, with errno, when there is no room for it. */
std::pair<Descriptor, Descriptor> connected_sockets();

/** Sends without ever waiting; false when the other side is gone or does not read. */
bool send_message(int socket, const Message& message, std::span<const int> files = {});

enum class Received { message, closed, late, rubbish };
/**
 * Waits for a message until the deadline. `files` holds the descriptors that came with it, whatever came. What is no
 * message of this size, or names more tensors than there can be, is rubbish.
 */
Received receive_message(int socket, Message& message, std::vector<Descriptor>& files, Deadline deadline);

} // namespace korvex::larod
