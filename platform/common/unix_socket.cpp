#include "platform/common/unix_socket.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace platform {
namespace {

constexpr int backlog = 64;
constexpr mode_t everybody = 0666;

[[noreturn]] void fail(const std::string& why) {
    throw std::runtime_error(why);
}

[[noreturn]] void fail_with_errno() {
    fail(std::strerror(errno));
}

/** As the system calls take it. */
const sockaddr* as_general(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

Descriptor new_socket(int type) {
    return Descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/** An address has room for 107 bytes of path; a longer one is reached through its folder's descriptor. */
sockaddr_un address_of(const std::string& path, int folder, const std::string& name) {
    auto address = unix_address(path);
    if (!address)
        address = unix_address("/proc/self/fd/" + std::to_string(folder) + "/" + name);
    if (!address)
        fail("the name of the socket is too long");
    return *address;
}

} // namespace

std::optional<sockaddr_un> unix_address(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() > longest_socket_path)
        return std::nullopt;
    path.copy(address.sun_path, path.size());
    return address;
}

Descriptor connect_to(const sockaddr_un& address, int type) {
    Descriptor connection = new_socket(type);
    if (connect(connection.get(), as_general(address), sizeof address) != 0)
        return {};
    return connection;
}

UnixSocket::Taken::Taken(bool served)
    : std::runtime_error(served ? "another program serves it"
                                : "there is something else in its place that is no socket"),
      is_served(served) {}

UnixSocket::UnixSocket(const std::string& path, int type) {
    const std::size_t slash = path.rfind('/');
    m_name = path.substr(slash + 1); // without a slash, all of it
    if (m_name.empty() || m_name == "." || m_name == "..")
        fail("it names no file");
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    m_folder = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder)
        fail_with_errno();
    listen_at(path, type);
}

UnixSocket::~UnixSocket() {
    struct stat file {};
    if (fstatat(m_folder.get(), m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0 && file.st_dev == m_device &&
        file.st_ino == m_inode)
        unlinkat(m_folder.get(), m_name.c_str(), 0);
}

void UnixSocket::listen_at(const std::string& path, int type) {
    const int folder = m_folder.get();
    const sockaddr_un address = address_of(path, folder, m_name);
    struct stat file {};
    if (fstatat(folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0) {
        if (!S_ISSOCK(file.st_mode))
            throw Taken(false);
        if (connect_to(address, type) || (errno != ECONNREFUSED && errno != ENOENT))
            throw Taken(true);
        if (unlinkat(folder, m_name.c_str(), 0) != 0 && errno != ENOENT)
            fail_with_errno();
    }
    m_socket = new_socket(type);
    if (bind(m_socket.get(), as_general(address), sizeof address) != 0 ||
        fchmodat(folder, m_name.c_str(), everybody, 0) != 0 || listen(m_socket.get(), backlog) != 0 ||
        fstatat(folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0)
        fail_with_errno();
    m_device = file.st_dev;
    m_inode = file.st_ino;
}

} // namespace platform
