#include "platform/axoverlay/unix_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace host_overlay {

namespace {

constexpr int kBacklog = 64;
constexpr mode_t kEverybody = 0666;

[[noreturn]] void fail(const std::string& why) {
    throw std::runtime_error(why);
}

[[noreturn]] void fail_with_errno() {
    fail(std::strerror(errno));
}

/** An address has room for 107 bytes of path; a longer one is reached through its folder's descriptor. */
sockaddr_un address_of(const std::string& path, int folder, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string text = path;
    if (text.size() >= sizeof address.sun_path) {
        text = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
    }
    if (text.size() >= sizeof address.sun_path) {
        fail("the name of the socket is too long");
    }
    std::memcpy(address.sun_path, text.data(), text.size());
    return address;
}

int new_socket() {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) {
        fail_with_errno();
    }
    return socket;
}

} // namespace

UnixSocket::UnixSocket(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    m_name = path.substr(slash + 1); // without a slash, all of it
    if (m_name.empty() || m_name == "." || m_name == "..") {
        fail("it names no file");
    }
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    m_folder = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0) {
        fail_with_errno();
    }
    try {
        listen_at(path);
    } catch (...) {
        close_all();
        throw;
    }
}

UnixSocket::~UnixSocket() {
    struct stat file {};
    if (fstatat(m_folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0 && file.st_dev == m_device &&
        file.st_ino == m_inode) {
        unlinkat(m_folder, m_name.c_str(), 0);
    }
    close_all();
}

int UnixSocket::take() {
    return std::exchange(m_socket, -1);
}

void UnixSocket::listen_at(const std::string& path) {
    const sockaddr_un address = address_of(path, m_folder, m_name);
    struct stat file {};
    if (fstatat(m_folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0) {
        if (!S_ISSOCK(file.st_mode)) {
            fail("there is something else in its place that is no socket");
        }
        if (is_served(path)) {
            fail("another program serves it");
        }
        if (unlinkat(m_folder, m_name.c_str(), 0) != 0 && errno != ENOENT) {
            fail_with_errno();
        }
    }
    m_socket = new_socket();
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        fchmodat(m_folder, m_name.c_str(), kEverybody, 0) != 0 || listen(m_socket, kBacklog) != 0 ||
        fstatat(m_folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0) {
        fail_with_errno();
    }
    m_device = file.st_dev;
    m_inode = file.st_ino;
}

bool UnixSocket::is_served(const std::string& path) const {
    const sockaddr_un address = address_of(path, m_folder, m_name);
    const int probe = new_socket();
    const bool refused = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
                         (errno == ECONNREFUSED || errno == ENOENT);
    close(probe);
    return !refused;
}

void UnixSocket::close_all() {
    for (const int descriptor : {m_socket, m_folder}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

} // namespace host_overlay
