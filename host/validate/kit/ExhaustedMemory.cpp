#include "host/validate/kit/ExhaustedMemory.h"

#include <array>
#include <new>
#include <utility>

namespace storage::host {

namespace {

/// The allocator keeps small freed blocks for requests of the same size. It can split a freed block of this
/// size or more at any point.
constexpr std::size_t divisible = 2048;

/// Commits the pages of the stack before the limit applies.
void growStack() {
    std::array<volatile char, std::size_t{256} * 1024> stack{};
    for (std::size_t i = 0; i < stack.size(); i += 1024) {
        stack[i] = 0;
    }
}

/// Throws once, because the first exception of a process may allocate.
void throwOnce() {
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
    }
}

} // namespace

ExhaustedMemory::ExhaustedMemory(std::size_t left) {
    growStack();
    throwOnce();
    take(divisible + left); // stored in a member, so that the compiler cannot remove the allocation
    reserve_ = std::exchange(blocks_, nullptr);
    ::getrlimit(RLIMIT_AS, &limitBefore_);
    const rlimit nothing{0, limitBefore_.rlim_max};
    ::setrlimit(RLIMIT_AS, &nothing);
    takeEverything();
    ::operator delete(reserve_);
    if (left > 0) {
        take(divisible); // the rest of the reserve stays available
    } else {
        takeEverything();
    }
}

ExhaustedMemory::~ExhaustedMemory() {
    ::setrlimit(RLIMIT_AS, &limitBefore_);
    while (blocks_ != nullptr) {
        ::operator delete(std::exchange(blocks_, blocks_->next));
    }
}

bool ExhaustedMemory::take(std::size_t size) {
    void* const memory = ::operator new(size, std::nothrow);
    if (memory == nullptr) {
        return false;
    }
    blocks_ = new (memory) Block{blocks_};
    return true;
}

void ExhaustedMemory::takeEverything() {
    for (std::size_t size = std::size_t{64} << 20U; size >= divisible; size /= 2) {
        while (take(size)) {
        }
    }
    constexpr std::size_t smallestStep = 16;
    for (std::size_t size = divisible; size >= sizeof(Block); size -= smallestStep) {
        while (take(size)) {
        }
    }
}

} // namespace storage::host
