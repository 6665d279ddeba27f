#include "benchmarks/core_operations/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

bool isCounting = false;
storage::core_operations::Allocations allocations;

void* allocate(std::size_t size) noexcept {
    if (isCounting) {
        ++allocations.count;
        allocations.bytes += size;
    }
    return std::malloc(size);
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

// Nothing that is measured here asks for more alignment than malloc gives.

void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}

void* operator new[](std::size_t size) {
    return orThrow(allocate(size));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
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

namespace storage::core_operations {

AllocationCounter::AllocationCounter() noexcept {
    allocations = {};
    isCounting = true;
}

AllocationCounter::~AllocationCounter() {
    isCounting = false;
}

Allocations AllocationCounter::counted() noexcept {
    return allocations;
}

} // namespace storage::core_operations
