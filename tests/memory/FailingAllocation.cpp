#include "tests/memory/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

using storage::tests::FailingAllocation;

enum class State { Off, Counting, Failed };

thread_local State state = State::Off;
thread_local FailingAllocation::Extent extentOfFailure = FailingAllocation::Extent::Once;
thread_local std::size_t left = 0;

bool failureIsDue() noexcept {
    if (state == State::Counting && left-- == 0) {
        state = State::Failed;
        return true;
    }
    return state == State::Failed && extentOfFailure == FailingAllocation::Extent::FromThenOn;
}

void* allocate(std::size_t size) noexcept {
    return failureIsDue() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
    const auto unit = static_cast<std::size_t>(alignment);
    return failureIsDue() ? nullptr : std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

// Replaces every form, because a sanitizer's forms do not call each other.

void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}

void* operator new[](std::size_t size) {
    return orThrow(allocate(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, alignment));
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, alignment));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size, alignment);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

namespace storage::tests {

FailingAllocation::FailingAllocation(std::size_t allowed, Extent extent) noexcept {
    left = allowed;
    extentOfFailure = extent;
    state = State::Counting;
}

FailingAllocation::~FailingAllocation() {
    state = State::Off;
}

bool FailingAllocation::happened() const noexcept {
    return state == State::Failed;
}

} // namespace storage::tests
