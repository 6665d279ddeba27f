#include "inmemoryprovider/filesystem/Processors.h"

#include <sched.h>

namespace storage::inmemoryprovider {

std::size_t processorNumberEnd() noexcept {
    std::size_t end = CPU_SETSIZE;
    cpu_set_t processors;
    if (::sched_getaffinity(0, sizeof processors, &processors) != 0) {
        return end; // the kernel supports more than fit into the set
    }
    while (end > 1 && !CPU_ISSET(end - 1, &processors)) {
        --end;
    }
    return end;
}

std::size_t currentProcessor() noexcept {
    return static_cast<std::size_t>(::sched_getcpu()); // -1 if unknown
}

} // namespace storage::inmemoryprovider
