#pragma once

#include "platform/larod/engine.h"

#include <memory>

namespace korvex::larod {

/**
 * The body of a worker process: loads and runs models, one message after the other from the service at the other end of
 * `socket`, until that end is closed. Never returns. What a model or a file does to this process ends this process
 * only.
 */
[[noreturn]] void work(int socket, std::shared_ptr<const Engine> engine, int threads);

} // namespace korvex::larod
