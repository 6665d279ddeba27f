#include "host/mount/FreeHeap.h"

#include <algorithm>
#include <fstream>
#include <malloc.h>
#include <sstream>

namespace storage::host {

namespace {

/// Physical memory of the heap in bytes. The heap is one of the first mappings, so little of the file is
/// read.
std::uint64_t readResidentHeap(const std::string& processes) {
    std::ifstream mappings(processes + "/self/smaps");
    std::string line;
    while (std::getline(mappings, line) && !line.ends_with("[heap]")) {
    }
    while (std::getline(mappings, line)) {
        std::istringstream fields(line);
        std::string name;
        std::uint64_t kibibytes = 0;
        if (fields >> name >> kibibytes && name == "Rss:") {
            return kibibytes * 1024;
        }
    }
    return 0;
}

} // namespace

/// By default, each freed large block raises the size from which the C library maps blocks separately. Later
/// blocks then stay in the heap after they are freed, and count against a limit on address space.
void useOneHeap() noexcept {
    constexpr int largeFrom = 4 << 20; // bytes
    ::mallopt(M_ARENA_MAX, 1);
    ::mallopt(M_MMAP_THRESHOLD, largeFrom);
}

void trimHeap() noexcept {
    ::malloc_trim(0);
}

std::uint64_t readFreeHeap(const std::string& processes) {
    const std::uint64_t resident = readResidentHeap(processes);
    return resident - std::min<std::uint64_t>(resident, ::mallinfo2().uordblks);
}

} // namespace storage::host
