#pragma once

#include <sched.h>

namespace storage::tests {

/// The processors on which the calling thread may run.
inline cpu_set_t permittedProcessors() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    sched_getaffinity(0, sizeof processors, &processors);
    return processors;
}

/// Pins the calling thread to the processor with this number among the permitted ones. Returns false if there
/// are fewer.
inline bool runOn(int number, const cpu_set_t& permitted = permittedProcessors()) {
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &permitted) && number-- == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(processor, &one);
            return sched_setaffinity(0, sizeof one, &one) == 0;
        }
    }
    return false;
}

} // namespace storage::tests
