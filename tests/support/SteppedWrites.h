#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <vector>

namespace storage::tests {

/// Counts the atomic writes of an operation to given objects. Executes the operation one instruction at a
/// time: the processor's trap flag raises a signal after each instruction. After an instruction with a lock,
/// compares the objects with a copy. So it finds the writes of the standard library and of the C library too,
/// in the code that a host runs.
///
/// Counts no plain writes, no atomic writes that leave the value as it was, and none of other threads. At most
/// one object at a time. x86-64 only; not with sanitizers, nor with checked iterators, which acquire locks of
/// their own, in the signal handler too.
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
