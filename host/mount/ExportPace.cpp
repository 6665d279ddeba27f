#include "host/mount/ExportPace.h"

#include "host/mount/MachineMemory.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr unsigned entriesPerCheck = 512; ///< their inodes and pages take about 1 MiB of the kernel's memory

constexpr std::uint64_t littleMemory = 6U << 20U; ///< bytes

/// Makes the kernel reclaim memory of the control group. While a file system creates an inode, the kernel
/// reclaims no inodes: if no memory is left, it kills a process. A request to combine pages into a huge page
/// reclaims them, and kills nothing if it fails.
void requestHugePages() {
    constexpr int combine = 25;             // MADV_COLLAPSE of Linux 6.1, which the C library does not define
    constexpr std::size_t page = 2U << 20U; // bytes; where huge pages are larger, this has no effect
    constexpr std::size_t size = littleMemory + page;
    void* const memory =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return;
    }
    void* aligned = memory;
    std::size_t left = size;
    std::align(page, littleMemory, aligned, left);
    ::madvise(memory, size, MADV_NOHUGEPAGE);
    for (std::size_t offset = 0; offset < littleMemory; offset += page) {
        static_cast<volatile char*>(aligned)[offset] = 0; // a small page, to be combined
    }
    ::madvise(memory, size, MADV_HUGEPAGE);
    ::madvise(aligned, littleMemory, combine);
    ::munmap(memory, size);
}

} // namespace

void ExportPace::countEntry() {
    if (++entries_ < entriesPerCheck) {
        return;
    }
    entries_ = 0;
    const auto isShort = [] {
        const MachineMemory memory = MachineMemory::read();
        return memory.isOfGroup && memory.info.available - memory.slab < littleMemory;
    };
    if (!isShort()) {
        return;
    }
    const int folder = ::open(target_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) { // without the right to read it, no inode is written early
        ::syncfs(folder);
        ::close(folder);
    }
    constexpr unsigned mostRequests = 10;
    for (unsigned requests = 0; requests < mostRequests && isShort(); ++requests) {
        requestHugePages();
        const timespec pause{0, 20'000'000}; // the kernel frees inodes with a delay
        ::nanosleep(&pause, nullptr);
    }
}

} // namespace storage::host
