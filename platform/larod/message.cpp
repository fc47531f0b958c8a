#include "platform/larod/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <type_traits>

namespace korvex::larod {

static_assert(std::is_trivially_copyable_v<Message>);

namespace {

constexpr std::size_t room_for_files = CMSG_SPACE(sizeof(int) * (most_tensors + 1));

void take_files(msghdr& header, std::vector<Descriptor>& files) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(part) + i * sizeof fd, sizeof fd);
            files.emplace_back(fd);
        }
    }
}

bool is_valid(Message& message) {
    message.text.back() = '\0';
    return message.kind <= Message::Kind::done && message.inputs <= most_tensors && message.outputs <= most_tensors &&
           message.tensor_count() <= most_tensors;
}

} // namespace

Message message_of(Message::Kind kind, std::uint32_t model, std::uint32_t request) {
    Message message;
    message.kind = kind;
    message.model = model;
    message.request = request;
    return message;
}

Message failure(Code code, const std::string& sentence) {
    Message message;
    message.kind = Message::Kind::failed;
    message.code = code;
    std::copy_n(sentence.begin(), std::min(sentence.size(), message.text.size() - 1), message.text.begin());
    return message;
}

std::string sentence_of(const Message& failed) {
    return failed.text.data();
}

bool send_message(int socket, const Message& message, std::span<const int> files) {
    iovec bytes{const_cast<Message*>(&message), sizeof message};
    alignas(cmsghdr) std::array<char, room_for_files> control{};
    msghdr header{};
    header.msg_iov = &bytes;
    header.msg_iovlen = 1;
    if (!files.empty()) {
        header.msg_control = control.data();
        header.msg_controllen = CMSG_SPACE(files.size_bytes());
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(files.size_bytes());
        std::memcpy(CMSG_DATA(part), files.data(), files.size_bytes());
    }
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
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
        iovec bytes{&message, sizeof message};
        alignas(cmsghdr) std::array<char, room_for_files> control{};
        msghdr header{};
        header.msg_iov = &bytes;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        const ssize_t got = recvmsg(socket, &header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got <= 0)
            return Received::closed;
        take_files(header, files);
        const bool whole =
            got == static_cast<ssize_t>(sizeof message) && (header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
        return whole && is_valid(message) ? Received::message : Received::rubbish;
    }
}

int milliseconds_until(Deadline deadline) {
    if (deadline == never)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace korvex::larod
