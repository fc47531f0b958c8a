#pragma once

#include "platform/common/descriptor.h"

#include <sys/types.h>

#include <string>

namespace host_overlay {

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
    /** Throws std::runtime_error with the reason. */
    explicit UnixSocket(const std::string& path);
    /** Removes the file, unless another one stands in its place. */
    ~UnixSocket();
    UnixSocket(const UnixSocket&) = delete;
    UnixSocket& operator=(const UnixSocket&) = delete;

    /** The listening descriptor, which the caller closes. REQUIRES: not taken yet. */
    int take() { return m_socket.release(); }

  private:
    void listen_at(const std::string& path);

    std::string m_name;            // in the folder
    platform::Descriptor m_folder; // kept open, so that the file is found again wherever the folder goes
    platform::Descriptor m_socket; // none also when taken
    dev_t m_device = 0;            // of the file, with m_inode
    ino_t m_inode = 0;
};

} // namespace host_overlay
