#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace korvex::larod {

struct ServiceOptions {
    std::size_t workers = 1;
    int threads = 1;
    /** For a worker's answer, after which its process is ended; and for the waiting for a worker before. */
    std::chrono::milliseconds limit{2000};
};

/**
 * From the environment: KORVEX_LAROD_WORKERS, KORVEX_LAROD_THREADS (of one inference) and KORVEX_LAROD_SECONDS (for an
 * inference). What is no number in its range counts as not set.
 */
ServiceOptions service_options();

/** The inference engine's library: KORVEX_LAROD_LIBRARY, or else the one that the build has chosen. */
std::string engine_location();

/**
 * How long a client waits for an answer: as long as the service lets it wait for a worker, and then for the worker,
 * and a second.
 */
std::chrono::milliseconds longest_answer();

} // namespace korvex::larod
