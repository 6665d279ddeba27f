#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace storage::host {

/// Records the operations of a provider that a child process is executing. The parent process names them
/// after a hang or crash of the child.
///
/// A handle: copies share the memory, and so do processes forked later. Recording does not allocate. Thread
/// safety: any thread may record; `text` requires that no thread records any more.
class OperationTrace {
    struct Slot;

public:
    /// Records one call during its lifetime. Created and destroyed on the calling thread.
    class Call {
    public:
        /// @param operation  a string literal: it has the same address in the parent process
        /// @param path       path of the location; may be empty
        Call(const OperationTrace& trace, const char* operation, std::u16string_view path) noexcept;
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call();

    private:
        Slot& slot_;
    };

    /// @throws std::system_error
    OperationTrace();

    /// All calls that have not returned, for example ", in doMoveFile of /d/f". Empty if there are none.
    std::string text() const;

private:
    static constexpr std::size_t longestPath = 200;

    /// The latest call of one thread.
    struct Slot {
        std::atomic<const char*> operation; ///< null when the call has returned
        std::size_t length;
        char16_t path[longestPath]; // NOLINT(modernize-avoid-c-arrays): zeroed by the kernel
    };
    using Slots = std::array<Slot, 64>; ///< more than the threads of any check

    std::shared_ptr<Slots> slots_;
};

} // namespace storage::host
