#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace storage::host {

/// Which operations of a provider a process is in, for the process that started it: it names them when the other one hangs
/// or has crashed.
///
/// Owns memory that is shared with the processes forked later. Recording allocates nothing. Thread safety: any number of
/// threads may record; `text` is for when they have ended.
class OperationTrace {
public:
    /// One call. Made before it and destroyed after it, on the thread that calls.
    class Call {
    public:
        /// @param operation  a literal: the other process has it at the same address
        /// @param path       of the location concerned; may be empty
        Call(OperationTrace& trace, const char* operation, std::u16string_view path) noexcept;
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call();

    private:
        std::atomic<const char*>& operation_;
    };

    /// @throws std::system_error
    OperationTrace();
    OperationTrace(const OperationTrace&) = delete;
    OperationTrace& operator=(const OperationTrace&) = delete;
    ~OperationTrace();

    /// ", in doMoveFile of /d/f": every call that has not returned; empty when there is none.
    std::string text() const;

private:
    static constexpr std::size_t longestPath = 200;
    static constexpr std::size_t slotCount = 64; ///< more than the threads that run at once

    /// The last call of one thread.
    struct Slot {
        std::atomic<const char*> operation; ///< null when it has returned
        std::size_t length;
        char16_t path[longestPath]; // NOLINT(modernize-avoid-c-arrays): zeroed by the kernel
    };

    Slot* slots_;
};

} // namespace storage::host
