#include "host/mount/MemoryReserve.h"

#include <new>

namespace storage::host {

namespace {

constexpr std::size_t ordinaryNeed = 16U
                                     << 10U; ///< bytes, more than a request takes that is not about content

} // namespace

bool MemoryReserve::isNeeded() noexcept {
    void* volatile probe =
        ::operator new(ordinaryNeed, std::nothrow); // volatile: it must not be optimised away
    const bool failed = probe == nullptr;
    ::operator delete(probe);
    return failed;
}

void MemoryReserve::giveUp() noexcept {
    const std::lock_guard lock(mutex_);
    memory_.reset();
}

void MemoryReserve::restore() noexcept {
    const std::lock_guard lock(mutex_);
    if (!memory_) {
        memory_.reset(new (std::nothrow) char[size]);
    }
}

} // namespace storage::host
