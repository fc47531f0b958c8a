#include "platform/larod/listening_socket.h"

#include "platform/common/unix_address.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace korvex::larod {
namespace {

using platform::as_general;
using platform::unix_address;

constexpr int backlog = 64;

[[noreturn]] void refuse(const std::string& path, const std::string& what) {
    throw std::runtime_error("the socket " + path + " cannot be used: " + what + ".");
}

/** Whoever may reach the socket may use the service: its folder decides who that is. */
void need_own_folder(const std::string& path) {
    const std::string folder = std::filesystem::absolute(path).parent_path();
    struct stat status {};
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        refuse(path, "its folder cannot be made (" + std::string(std::strerror(errno)) + ")");
    if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        refuse(path, folder + " is no folder");
    if (status.st_uid != geteuid() || (status.st_mode & 077) != 0)
        refuse(path, "its folder is open to others; chmod 700 " + folder);
}

} // namespace

ListeningSocket::ListeningSocket(const std::string& path) : m_path(path) {
    const auto address = unix_address(path);
    if (!address)
        refuse(path, "its path is longer than " + std::to_string(platform::longest_socket_path) + " characters");
    need_own_folder(path);
    std::string ignored;
    if (connect_to(path, ignored))
        refuse(path, "another service listens there");
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode))
            refuse(path, "something else has this name");
        unlink(path.c_str());
    }
    m_socket = Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (bind(m_socket.get(), as_general(*address), sizeof *address) != 0 || listen(m_socket.get(), backlog) != 0)
        refuse(path, std::strerror(errno));
}

ListeningSocket::~ListeningSocket() {
    unlink(m_path.c_str());
}

Descriptor connect_to(const std::string& path, std::string& why) {
    const auto address = unix_address(path);
    if (!address) {
        why = "The path of the inference service's socket " + path + " is too long.";
        return {};
    }
    Descriptor connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(connection.get(), as_general(*address), sizeof *address) == 0)
        return connection;
    why = "No inference service answers at " + path + ": " + std::strerror(errno) + ".";
    return {};
}

} // namespace korvex::larod
