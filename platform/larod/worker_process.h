#pragma once

#include "platform/larod/engine.h"
#include "platform/larod/message.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <set>

namespace korvex::larod {

/** What workers are started with. */
struct WorkerOptions {
    std::shared_ptr<const Engine> engine;
    int threads = 1;
    int stderr_file = STDERR_FILENO; // where they write what goes wrong
};

/** A worker process as the service sees it. Ends its process when it is destroyed. */
class WorkerProcess {
  public:
    /** Null when the system has no room for another process. */
    static std::unique_ptr<WorkerProcess> start(const WorkerOptions& options);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    int socket() const { return m_socket.get(); }
    std::set<std::uint32_t> models; // loaded there

  private:
    WorkerProcess(pid_t process, Descriptor socket) : m_process(process), m_socket(std::move(socket)) {}

    const pid_t m_process;
    Descriptor m_socket;
};

} // namespace korvex::larod
