#pragma once

#include <cstddef>
#include <sys/resource.h>

namespace storage::host {

/// As long as one lives, the process has no memory but what is given back to it: neither the system nor the heap has
/// anything left. Whatever allocates fails with std::bad_alloc.
///
/// Owns all free blocks of the heap. For the only thread of a process.
class ExhaustedMemory {
public:
    /// @param left  bytes that can still be allocated, in one piece
    explicit ExhaustedMemory(std::size_t left);
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;
    ~ExhaustedMemory();

private:
    /// A block of the heap, in which stands where the next one is.
    struct Block {
        Block* next;
    };

    bool take(std::size_t size);
    void takeEverything();

    rlimit limitBefore_{};
    Block* reserve_ = nullptr; ///< free again once everything else is taken
    Block* blocks_ = nullptr;
};

} // namespace storage::host
