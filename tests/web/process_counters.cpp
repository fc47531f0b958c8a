#include "tests/web/process_counters.h"

#include <malloc.h>
#include <sys/resource.h>

#include <filesystem>
#include <iterator>

// A sanitizer's allocator leaves mallinfo2 empty and has its own count; absent, this is null.
extern "C" [[gnu::weak]] size_t __sanitizer_get_current_allocated_bytes();

process_counters count_process() {
    const auto descriptors = static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
    const size_t heap = __sanitizer_get_current_allocated_bytes != nullptr ? __sanitizer_get_current_allocated_bytes()
                                                                           : mallinfo2().uordblks;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {descriptors, heap, static_cast<size_t>(usage.ru_maxrss) * 1024};
}
