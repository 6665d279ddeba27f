#include "tests/inmemoryprovider/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

enum class Mode { Off, Counting, Failed };

thread_local Mode mode = Mode::Off;
thread_local std::size_t left = 0;

void failWhenDue() {
    if (mode == Mode::Counting && left-- == 0) {
        mode = Mode::Failed;
        throw std::bad_alloc();
    }
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* allocate(std::size_t size) {
    failWhenDue();
    return orThrow(std::malloc(size == 0 ? 1 : size));
}

void* allocate(std::size_t size, std::align_val_t alignment) {
    failWhenDue();
    const auto unit = static_cast<std::size_t>(alignment);
    return orThrow(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}

} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new[](std::size_t size) {
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, alignment);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
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

namespace storage::inmemoryprovider {

FailingAllocation::FailingAllocation(std::size_t allowed) noexcept {
    left = allowed;
    mode = Mode::Counting;
}

FailingAllocation::~FailingAllocation() {
    mode = Mode::Off;
}

bool FailingAllocation::happened() const noexcept {
    return mode == Mode::Failed;
}

} // namespace storage::inmemoryprovider
