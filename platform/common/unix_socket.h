#pragma once

#include "platform/common/descriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace platform {

/** Bytes of a path that an address holds. */
inline constexpr std::size_t longest_socket_path = sizeof(sockaddr_un::sun_path) - 1;

/** The address of a socket in the file system; nothing when the path is too long for one. */
std::optional<sockaddr_un> unix_address(const std::string& path);

/** Connected to whom listens there, or none with errno. Does not wait. `type` as socket(2) takes it. */
Descriptor connect_to(const sockaddr_un& address, int type);

/**
 * A listening Unix socket in the file system, from construction to destruction. Who reaches its folder may connect: the
 * file itself keeps nobody out.
 *
 * A socket's file that a dead process has left is replaced. One that somebody serves is left alone, and so is anything
 * that is no socket. The path may be of any length, its last part up to some 80 bytes. Two that begin with the same
 * path at the same moment are not told apart; whoever starts them sees to that.
 */
class UnixSocket {
  public:
    /** Something stands there already. */
    struct Taken : std::runtime_error {
        explicit Taken(bool served);
        bool is_served; // otherwise it is no socket
    };

    /** Throws Taken, or else a std::runtime_error with the reason. `type` as socket(2) takes it. */
    UnixSocket(const std::string& path, int type);
    /** Removes the file, unless another one stands in its place. */
    ~UnixSocket();
    UnixSocket(const UnixSocket&) = delete;
    UnixSocket& operator=(const UnixSocket&) = delete;

    int get() const { return m_socket.get(); }
    /** The listening descriptor, which the caller closes. REQUIRES: not taken yet. */
    int take() { return m_socket.release(); }

  private:
    void listen_at(const std::string& path, int type);

    std::string m_name;  // in the folder
    Descriptor m_folder; // kept open, so that the file is found again wherever the folder goes
    Descriptor m_socket; // none also when taken
    dev_t m_device = 0;  // of the file, with m_inode
    ino_t m_inode = 0;
};

} // namespace platform
