#include "platform/larod/service_process.h"

#include "platform/common/settings.h"

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>

namespace korvex::larod {
namespace {

constexpr int services_socket = 3; // the first after the standard ones

/** KORVEX_LAROD_SERVICE, or korvex_larod beside the program that runs, or else the one that was built with it. */
std::string program() {
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).replace_filename("korvex_larod");
    return platform::environment_or("KORVEX_LAROD_SERVICE", std::filesystem::exists(beside, ignored)
                                                                ? beside.string()
                                                                : KORVEX_LAROD_DEFAULT_SERVICE);
}

/** A child's signals as a program expects them, whatever this process blocks and ignores. */
class SpawnAttributes {
  public:
    SpawnAttributes() {
        posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &m_attributes; }

  private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

Descriptor ServiceProcess::start(std::string& why) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        why = std::string("no socket can be made for it: ") + std::strerror(errno);
        return {};
    }
    Descriptor own(ends[0]);
    const Descriptor services(ends[1]);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, services.get(), services_socket);
    const std::string path = program();
    std::string name = "korvex_larod";
    std::string option = "--client";
    std::string value = std::to_string(services_socket);
    const std::array<char*, 4> arguments{name.data(), option.data(), value.data(), nullptr};
    const int failure =
        posix_spawn(&m_process, path.c_str(), &actions, SpawnAttributes().get(), arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure == 0)
        return own;
    m_process = -1;
    why = path + " cannot be started: " + std::strerror(failure);
    return {};
}

void ServiceProcess::end() {
    if (m_process < 0)
        return;
    kill(m_process, SIGKILL); // it may be stopped; its workers end with it
    waitpid(m_process, nullptr, 0);
    m_process = -1;
}

} // namespace korvex::larod
