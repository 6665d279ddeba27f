#pragma once

#include "host/mount/Inode.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace storage::host {

/// Memory that an entry takes in the mount and in a provider besides its content: slightly above the measured
/// size.
inline constexpr std::uint64_t bytesOfEntry = 1024;

/// The limits of a storage. A value.
struct StorageLimits {
    std::optional<std::uint64_t> bytes = std::nullopt;   ///< of content, in whole pages
    std::optional<std::uint64_t> entries = std::nullopt; ///< including the root

    bool any() const noexcept { return bytes || entries; }
};

/// The current use of a storage. A value.
struct StorageUse {
    std::uint64_t bytes = 0;   ///< of content, in whole pages
    std::uint64_t entries = 1; ///< including the root

    /// Counts the content of a provider.
    static StorageUse of(const provider::IProvider& provider);
};

/// Enforces the limits that the user has set, and counts the use: removed entries count as long as a program
/// has them open.
///
/// Thread-safe. A check and the change after it are atomic only for callers that exclude each other, see
/// `StorageSpace::Turn`.
class StorageQuota {
public:
    using ProviderStorageInfo = provider::ProviderStorageInfo;

    /// The total and the free number of entries. A value.
    struct Entries {
        std::uint64_t total;
        std::uint64_t free;
    };

    StorageQuota(const StorageLimits& limits, const StorageUse& use) noexcept
        : limits_(limits), bytes_(use.bytes), entries_(use.entries) {}

    /// @param pages  to be added to a file
    /// @throws ErrnoError ENOSPC
    void requirePages(std::uint64_t pages) const;
    void requireEntry() const;

    void noteNewEntry() noexcept { ++entries_; }

    /// @pre the attributes of a file are known
    void noteDestroyed(const Inode& inode) noexcept;

    /// Whether so little is left that growing operations must exclude each other.
    bool isScarce() const noexcept;

    /// Applies the limits to the space of the storage.
    ProviderStorageInfo limited(ProviderStorageInfo info) const noexcept;

    /// @param available  bytes
    Entries entries(std::uint64_t available) const noexcept;

    /// Updates the count of pages of a file at the end of the scope, also after an exception. Precondition:
    /// the file's guard is held.
    class Charge {
    public:
        Charge(StorageQuota& quota, const FileInode& file)
            : quota_(quota), file_(file), oldPages_(file.pages()) {}
        ~Charge() { quota_.notePages(oldPages_, file_.pages()); }
        Charge(const Charge&) = delete;
        Charge& operator=(const Charge&) = delete;

    private:
        StorageQuota& quota_;
        const FileInode& file_;
        const std::uint64_t oldPages_;
    };

private:
    void notePages(std::uint64_t before, std::uint64_t now) noexcept;
    std::uint64_t bytesLeft() const noexcept;

    const StorageLimits limits_;
    std::atomic<std::uint64_t> bytes_;
    std::atomic<std::uint64_t> entries_;
};

} // namespace storage::host
