#include "platform/larod/worker_process.h"

#include "platform/larod/sandbox.h"
#include "platform/larod/worker.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <csignal>

namespace korvex::larod {
namespace {

constexpr int workers_socket = 3; // the first after the standard ones

[[noreturn]] void become_worker(int socket, const WorkerOptions& options) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "korvex_worker");
    dup2(options.stderr_file, STDERR_FILENO);
    // What its siblings and the service hold is not its business; a client's end may not stay open here either.
    dup2(socket, workers_socket);
    close_range(workers_socket + 1, ~0U, 0);
    give_up_rights(Role::worker);
    work(workers_socket, options.engine, options.threads);
}

} // namespace

std::unique_ptr<WorkerProcess> WorkerProcess::start(const WorkerOptions& options) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return nullptr;
    Descriptor own(ends[0]);
    const Descriptor workers(ends[1]);
    const pid_t process = fork();
    if (process < 0)
        return nullptr;
    if (process == 0)
        become_worker(workers.get(), options);
    return std::unique_ptr<WorkerProcess>(new WorkerProcess(process, std::move(own)));
}

WorkerProcess::~WorkerProcess() {
    kill(m_process, SIGKILL); // it may be stopped, or deaf
    waitpid(m_process, nullptr, 0);
}

} // namespace korvex::larod
