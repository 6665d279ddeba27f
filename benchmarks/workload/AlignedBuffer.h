#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

namespace storage::benchmark {

/// Memory to read into that begins with a page. Where it begins shows in the time of a copy, and would otherwise be
/// left to what a store has allocated before.
class AlignedBuffer {
public:
    /// @param size  whole pages
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
