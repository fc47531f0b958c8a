#include "platform/larod/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace korvex::larod {

static_assert(std::is_trivially_copyable_v<Message>);

namespace {

/** A message, and room for the descriptors beside it, as the system takes and gives them. */
struct Packet {
    explicit Packet(Message& message) : bytes{&message, sizeof message} {
        header.msg_iov = &bytes;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
    Packet(const Packet&) = delete;
    Packet& operator=(const Packet&) = delete;

    iovec bytes;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * (most_tensors + 1))> control{};
    msghdr header{};
};

void take_files(msghdr& header, std::vector<Descriptor>& files) {
    const cmsghdr* part = CMSG_FIRSTHDR(&header); // one has all of a message's files
    const std::size_t size = part != nullptr && part->cmsg_type == SCM_RIGHTS ? part->cmsg_len - CMSG_LEN(0) : 0;
    std::vector<int> numbers(size / sizeof(int));
    if (size > 0)
        std::memcpy(numbers.data(), CMSG_DATA(part), size);
    for (const int number : numbers)
        files.emplace_back(number);
}

bool is_valid(const Message& message) {
    return message.kind <= Message::Kind::done && message.inputs <= most_tensors && message.outputs <= most_tensors &&
           message.tensor_count() <= most_tensors;
}

} // namespace

std::string tensor_name(std::size_t index, std::size_t inputs) {
    return index < inputs ? "Input tensor " + std::to_string(index) : "Output tensor " + std::to_string(index - inputs);
}

Message message_of(const Failure& failure) {
    Message message{.kind = Message::Kind::failed, .code = static_cast<Code>(failure.code)};
    failure.sentence.copy(message.text.data(), message.text.size() - 1);
    return message;
}

int milliseconds_until(Deadline deadline) {
    if (deadline == never)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

std::pair<Descriptor, Descriptor> connected_sockets() {
    std::array<int, 2> ends{-1, -1};
    socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data());
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

bool send_message(int socket, const Message& message, std::span<const int> files) {
    Packet packet(const_cast<Message&>(message));
    packet.header.msg_controllen = files.empty() ? 0 : CMSG_SPACE(files.size_bytes());
    if (cmsghdr* part = CMSG_FIRSTHDR(&packet.header); part != nullptr) {
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(files.size_bytes());
        std::memcpy(CMSG_DATA(part), files.data(), files.size_bytes());
    }
    const ssize_t sent = TEMP_FAILURE_RETRY(sendmsg(socket, &packet.header, MSG_NOSIGNAL | MSG_DONTWAIT));
    return sent == static_cast<ssize_t>(sizeof message);
}

Received receive_message(int socket, Message& message, std::vector<Descriptor>& files, Deadline deadline) {
    files.clear();
    for (;;) {
        pollfd waiting{socket, POLLIN, 0};
        const int ready = poll(&waiting, 1, milliseconds_until(deadline));
        if (ready == 0 && std::chrono::steady_clock::now() >= deadline)
            return Received::late;
        if (ready <= 0)
            continue; // a signal
        Packet packet(message);
        const ssize_t got = recvmsg(socket, &packet.header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got <= 0)
            return Received::closed;
        take_files(packet.header, files);
        message.text.back() = '\0';
        const bool whole =
            got == static_cast<ssize_t>(sizeof message) && (packet.header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
        return whole && is_valid(message) ? Received::message : Received::rubbish;
    }
}

} // namespace korvex::larod
