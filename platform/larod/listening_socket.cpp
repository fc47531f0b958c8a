#include "platform/larod/listening_socket.h"

#include "platform/larod/failure.h"

#include <sys/stat.h>

#include <filesystem>

namespace korvex::larod {
namespace {

using platform::UnixSocket;

void need_own_folder(const std::string& path) {
    const std::string folder = std::filesystem::absolute(path).parent_path();
    struct stat status {};
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("its folder cannot be made (" + std::string(std::strerror(errno)) + ")");
    if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw std::runtime_error(folder + " is no folder");
    if (status.st_uid != geteuid() || (status.st_mode & 077) != 0)
        throw std::runtime_error("its folder is open to others; chmod 700 " + folder);
}

} // namespace

std::unique_ptr<UnixSocket> listen_at(const std::string& path) {
    std::string why;
    try {
        if (!platform::unix_address(path))
            throw std::runtime_error("its path is longer than " + std::to_string(platform::longest_socket_path) +
                                     " characters"); // for its clients
        need_own_folder(path);
        return std::make_unique<UnixSocket>(path, SOCK_SEQPACKET);
    } catch (const UnixSocket::Taken& taken) {
        why = taken.is_served ? "another service listens there" : "something else has this name";
    } catch (const std::runtime_error& problem) {
        why = problem.what();
    }
    throw std::runtime_error("the socket " + path + " cannot be used: " + why + ".");
}

platform::Descriptor connect_to(const std::string& path) {
    const auto address = platform::unix_address(path);
    if (!address)
        throw Failure(Code::engine, "The path of the inference service's socket " + path + " is too long.");
    auto connection = platform::connect_to(*address, SOCK_SEQPACKET);
    if (!connection)
        throw refused_by_system(Code::engine, "No inference service answers at " + path);
    return connection;
}

} // namespace korvex::larod
