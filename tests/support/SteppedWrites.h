#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <vector>

namespace storage::tests {

/// Counts the atomic writes of an operation to given objects. Single-steps the operation: the processor's
/// trap flag raises a signal after each instruction. After an instruction with a lock prefix, compares the
/// objects with a copy. So it also finds the writes of the C and C++ libraries, in the same code that a host
/// runs.
///
/// Does not count plain writes, atomic writes that leave the value unchanged, and writes of other threads. At
/// most one object may exist at a time. Requires x86-64. Unavailable with sanitizers, and with checked
/// iterators, which acquire their own locks even in the signal handler.
class SteppedWrites {
public:
    /// Whether the processor, the kernel and the build allow counting.
    static bool isAvailable();

    using Bytes = std::span<const std::byte>;

    explicit SteppedWrites(const std::vector<Bytes>& objects);
    SteppedWrites(const SteppedWrites&) = delete;
    SteppedWrites& operator=(const SteppedWrites&) = delete;
    ~SteppedWrites();

    struct Counts {
        std::vector<unsigned> writes;                ///< to each object
        std::vector<std::set<std::uintptr_t>> lines; ///< the addresses of the cache lines written, per object
        unsigned elsewhere = 0;                      ///< instructions with a lock that changed no object
    };

    /// Executes `operation`.
    Counts count(const std::function<void()>& operation);

private:
    struct Object;
    struct Stepping;

    std::vector<Object> objects_;
};

} // namespace storage::tests
