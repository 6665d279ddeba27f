#include "host/mount/MemoryReserve.h"

#include <new>
#include <sys/mman.h>

namespace storage::host {

namespace {

/// Bytes; far above what a request without content allocates.
constexpr std::size_t ordinaryNeed = 100U << 10U;

} // namespace

bool MemoryReserve::isNeeded() const noexcept {
    if (!isComplete_) {
        return true; // part of the reserve is still missing, so memory is exhausted
    }
    void* volatile probe =
        ::operator new(ordinaryNeed, std::nothrow); // volatile, or the allocation is optimized away
    const bool failed = probe == nullptr;
    ::operator delete(probe);
    return failed;
}

void MemoryReserve::giveUp() noexcept {
    isComplete_ = false;
    for (void*& piece : pieces_) {
        if (piece != nullptr) {
            ::munmap(piece, pieceSize);
            piece = nullptr;
        }
    }
}

void MemoryReserve::restore() noexcept {
    bool isComplete = true;
    for (void*& piece : pieces_) {
        if (piece == nullptr) {
            piece = ::mmap(nullptr, pieceSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            piece = piece == MAP_FAILED ? nullptr : piece;
        }
        isComplete = isComplete && piece != nullptr;
    }
    isComplete_ = isComplete;
}

} // namespace storage::host
