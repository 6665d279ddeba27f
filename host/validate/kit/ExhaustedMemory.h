#pragma once

#include <cstddef>
#include <sys/resource.h>

namespace storage::host {

/// Exhausts the memory of the process during its lifetime: no heap block is free, and the heap cannot grow.
/// Every allocation fails with std::bad_alloc unless other memory is freed first.
///
/// Owns all free blocks of the heap. Precondition: the process has only one thread.
class ExhaustedMemory {
public:
    /// @param left  bytes that can still be allocated, in one block
    explicit ExhaustedMemory(std::size_t left);
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;
    ~ExhaustedMemory();

private:
    /// An allocated block, which links to the next one.
    struct Block {
        Block* next;
    };

    bool take(std::size_t size);
    void takeEverything();

    rlimit limitBefore_{};
    Block* reserve_ = nullptr; ///< freed when everything else is allocated
    Block* blocks_ = nullptr;
};

} // namespace storage::host
