#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

namespace storage::benchmark {

/// A page-aligned read buffer. The alignment affects the time of a copy, and would otherwise depend on
/// earlier allocations.
class AlignedBuffer {
public:
    /// @param size  a multiple of the page size
    explicit AlignedBuffer(std::size_t size)
        : memory_(static_cast<char*>(std::aligned_alloc(pageSize, size)), std::free) {
        if (!memory_) {
            throw std::bad_alloc();
        }
    }

    char* data() { return memory_.get(); }

private:
    static constexpr std::size_t pageSize = 4096;

    std::unique_ptr<char, void (*)(void*)> memory_;
};

} // namespace storage::benchmark
