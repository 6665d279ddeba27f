#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace storage::host {

/// Records the operations of a provider that a child process is executing. The parent process names them
/// after a hang or crash of the child.
///
/// Owns memory that is shared with processes forked later. Recording does not allocate. Thread safety: any
/// thread may record; `text` requires that no thread records any more.
class OperationTrace {
public:
    /// Records one call during its lifetime. Created and destroyed on the calling thread.
    class Call {
    public:
        /// @param operation  a string literal: it has the same address in the parent process
        /// @param path       path of the location; may be empty
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

    /// All calls that have not returned, for example ", in doMoveFile of /d/f". Empty if there are none.
    std::string text() const;

private:
    static constexpr std::size_t longestPath = 200;
    static constexpr std::size_t slotCount = 64; ///< more than the threads of any check

    /// The latest call of one thread.
    struct Slot {
        std::atomic<const char*> operation; ///< null when the call has returned
        std::size_t length;
        char16_t path[longestPath]; // NOLINT(modernize-avoid-c-arrays): zeroed by the kernel
    };

    Slot* slots_;
};

} // namespace storage::host
