#include "inmemoryprovider/access/ContentPages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace storage::inmemoryprovider {

namespace {

constexpr std::uintptr_t hugePage = 2U << 20U;

std::uintptr_t pageSize() noexcept {
    static const auto size = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

std::uintptr_t addressOf(const std::uint8_t* memory) noexcept {
    return reinterpret_cast<std::uintptr_t>(memory);
}

std::uintptr_t roundDown(std::uintptr_t address, std::uintptr_t unit) noexcept {
    return address / unit * unit;
}

std::uintptr_t roundUp(std::uintptr_t address, std::uintptr_t unit) noexcept {
    return roundDown(address + unit - 1, unit);
}

/// @param memory  a pointer into the pages; the range is addressed through it, to keep its provenance
void advise(std::uint8_t* memory, std::uintptr_t begin, std::uintptr_t end, int advice) noexcept {
    if (begin < end) {
        const int errorBefore = errno;
        ::madvise(memory + static_cast<std::intptr_t>(begin - addressOf(memory)), end - begin, advice);
        errno = errorBefore;
    }
}

} // namespace

void adviseHugePages([[maybe_unused]] std::uint8_t* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(MADV_HUGEPAGE)
    // With larger base pages, huge pages are larger than 2 MiB too.
    if (pageSize() == 4096) {
        advise(memory, roundUp(addressOf(memory), hugePage), roundDown(addressOf(memory) + size, hugePage),
               MADV_HUGEPAGE);
    }
#endif
}

std::size_t leftInHugePage(const std::uint8_t* address) noexcept {
    return hugePage - addressOf(address) % hugePage;
}

void populatePages([[maybe_unused]] std::uint8_t* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(MADV_POPULATE_WRITE)
    advise(memory, roundDown(addressOf(memory), pageSize()), roundUp(addressOf(memory) + size, pageSize()),
           MADV_POPULATE_WRITE);
#endif
}

void freePages(std::uint8_t* memory, std::size_t size) noexcept {
    advise(memory, roundUp(addressOf(memory), pageSize()), roundDown(addressOf(memory) + size, pageSize()),
           MADV_DONTNEED);
}

} // namespace storage::inmemoryprovider
