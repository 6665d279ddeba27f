#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace storage::inmemoryprovider {

/// A sequence lock over the tree that readers check by path. It makes a change of several steps, such as a
/// move, atomic for readers that do not hold the lock of the changes. They wait for the running change only
/// if it affects their path.
///
/// Owns a sequence number, which is odd during a change, and the length and hashes of that change's paths. It
/// stores hashes because a path could be destroyed while a reader compares it. A collision makes a reader
/// wait unnecessarily.
///
/// Changes are externally synchronized. A reader that reads a folder under the folder's mutex calls
/// `conflictWith` while it holds that mutex. All steps on that folder require the mutex, so the result stays
/// valid until it is released. A reader of anything else calls it afterwards, and retries if `number` has
/// changed.
///
/// Thread-safe, except for `Change`.
class PathSeqLock {
public:
    using Number = std::uint32_t;

    /// The data that a reader depends on.
    enum class Scope {
        Entry, ///< the entry at the path: affected by changes of this entry or of a folder above it
        Folder ///< a folder's attributes and children: affected by changes of a child too
    };

    /// A change, which runs during the object's lifetime. Affects both paths and everything below them.
    class [[nodiscard]] Change {
    public:
        Change(PathSeqLock& lock, const InMemoryEntryPath& source, const InMemoryEntryPath& target) noexcept;
        Change(PathSeqLock& lock, const InMemoryEntryPath& path) noexcept;
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        ~Change();

    private:
        PathSeqLock& lock_;
    };

    /// Incremented at the beginning and at the end of each change.
    Number number() const noexcept { return sequence_.load(std::memory_order_acquire); }

    /// The number of the running change if it affects the entry at `path`.
    std::optional<Number> conflictWith(std::u16string_view path, Scope scope) const noexcept {
        const Number seen = number();
        return isUnderWay(seen) && changeConcerns(path, scope) ? std::optional(seen) : std::nullopt;
    }

    /// Blocks until the change with this `number` has ended.
    void waitForEndOf(Number number) const noexcept;

private:
    struct Place {
        explicit Place(std::u16string_view text) noexcept;

        std::size_t length;
        std::uint64_t path;
        std::uint64_t parent;
    };

    /// Stores release, loads acquire: a reader that sees a field of a change also sees the end of the
    /// previous change.
    struct SharedPlace {
        void store(const Place& place) noexcept;
        bool concerns(std::u16string_view reader, Scope scope) const noexcept;

        std::atomic<std::size_t> length{0};
        std::atomic<std::uint64_t> path{0};
        std::atomic<std::uint64_t> parent{0};
    };

    static bool isUnderWay(Number number) noexcept { return number % 2 != 0; }

    /// The result may refer to the next change, or to a mixture of both. In that case the change that was
    /// seen has ended.
    bool changeConcerns(std::u16string_view path, Scope scope) const noexcept;

    void begin(const Place& source, const Place& target) noexcept;
    void end() noexcept;

    /// Made odd (release) after the places are stored and before the first step. Each step is published by a
    /// folder's mutex or by the folder map, so a reader that sees a step sees the number. Made even
    /// (sequentially consistent, for waiting readers) after the last step; a reader that sees it (acquire)
    /// sees all steps.
    std::atomic<Number> sequence_{0};
    std::array<SharedPlace, 2> places_;
};

} // namespace storage::inmemoryprovider
