#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>

namespace platform {

/** Bytes of a path that an address holds. */
inline constexpr std::size_t longest_socket_path = sizeof(sockaddr_un::sun_path) - 1;

/** The address of a socket in the file system; nothing when the path is too long for one. */
inline std::optional<sockaddr_un> unix_address(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() > longest_socket_path)
        return std::nullopt;
    path.copy(address.sun_path, path.size());
    return address;
}

/** As the system calls take it. */
inline const sockaddr* as_general(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace platform
