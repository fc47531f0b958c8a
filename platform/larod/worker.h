#pragma once

#include "platform/common/descriptor.h"
#include "platform/larod/engine.h"

namespace korvex::larod {

/** A process that works, as the service sees it; it ends with the object. */
struct WorkerProcess {
    platform::Child process; // none when the system has no room for another one
    platform::Descriptor socket;
};

/**
 * Starts a process that loads and runs models, one message after the other from the other end of its socket, until the
 * service's is closed. What a model or a file does to that process ends that process only. What goes wrong there is
 * written to `stderr_file`.
 */
WorkerProcess start_worker(const Engine& engine, int threads, int stderr_file);

} // namespace korvex::larod
