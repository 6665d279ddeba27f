#include "benchmarks/core_operations/Replacements.h"

#include <cstdlib>
#include <new>
#include <sched.h>

using storage::core_operations::allocations;
using storage::core_operations::stoppedClock;

constinit storage::core_operations::Allocations storage::core_operations::allocations;

// Callgrind does not support restartable sequences, by which the C library finds the processor.
extern "C" __attribute__((visibility("default"))) int sched_getcpu() noexcept {
    return 0;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t /*clock*/,
                                                                    timespec* time) noexcept {
    *time = {.tv_sec = stoppedClock, .tv_nsec = 0};
    return 0;
}

// No measured operation requires more alignment than malloc guarantees. The array and nothrow forms call
// these by default.

void* operator new(std::size_t size) {
    if (allocations.isCounting) {
        ++allocations.count;
        allocations.bytes += size;
    }
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
