#pragma once

#include <cstddef>

/** What this process holds. */
struct process_counters {
    size_t descriptors;
    size_t heap_bytes; // allocated and not freed, by the allocator in use, a sanitizer's included
    size_t peak_resident_bytes;
};

process_counters count_process();
