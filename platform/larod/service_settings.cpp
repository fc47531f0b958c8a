#include "platform/larod/service_settings.h"

#include "platform/common/settings.h"

#include <algorithm>
#include <thread>

namespace korvex::larod {
namespace {

using namespace std::chrono_literals;

int number(const char* variable, int most, int otherwise) {
    const auto value = platform::parse_number(platform::environment(variable), 1, static_cast<std::uint64_t>(most));
    return value ? static_cast<int>(*value) : otherwise;
}

std::chrono::milliseconds limit() {
    return number("KORVEX_LAROD_SECONDS", 3600, 2) * 1000ms;
}

} // namespace

ServiceOptions service_options() {
    const int processors = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
    ServiceOptions options;
    // One thread each: threads of one inference wait for each other after each operator, and beside other busy programs
    // that makes them slower than one.
    options.threads = number("KORVEX_LAROD_THREADS", 64, 1);
    options.workers =
        static_cast<std::size_t>(number("KORVEX_LAROD_WORKERS", 64, std::max(processors / options.threads, 1)));
    options.limit = limit();
    return options;
}

std::string engine_location() {
    return platform::environment_or("KORVEX_LAROD_LIBRARY", KORVEX_LAROD_DEFAULT_LIBRARY);
}

std::chrono::milliseconds longest_answer() {
    return 2 * limit() + 1s;
}

} // namespace korvex::larod
