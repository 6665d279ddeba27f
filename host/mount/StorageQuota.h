#pragma once

#include "host/mount/Inode.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace storage::host {

/// What a storage may hold. A value.
struct StorageLimits {
    std::optional<std::uint64_t> bytes = std::nullopt;   ///< of content, in whole pages
    std::optional<std::uint64_t> entries = std::nullopt; ///< with the root

    bool any() const noexcept { return bytes || entries; }
};

/// What a storage holds. A value.
struct StorageUse {
    std::uint64_t bytes = 0;   ///< of content, in whole pages
    std::uint64_t entries = 1; ///< with the root

    /// Of all that the provider has.
    static StorageUse of(const foundation::storage::provider::IProvider& provider);
};

/// Keeps a storage within the limits that the user has set, and counts what it holds: entries that are removed count as long
/// as a program has them open.
///
/// Thread-safe. A check and the change that follows are one step only for callers that exclude each other, see
/// `StorageSpace::Turn`.
class StorageQuota {
public:
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;

    /// How many entries there may be, and how many more. A value.
    struct Entries {
        std::uint64_t total;
        std::uint64_t free;
    };

    StorageQuota(const StorageLimits& limits, const StorageUse& use) noexcept
        : limits_(limits), bytes_(use.bytes), entries_(use.entries) {}

    /// @param pages  that a file is to get
    /// @throws ErrnoError ENOSPC
    void requirePages(std::uint64_t pages) const;
    void requireEntry() const;

    void noteNewEntry() noexcept { ++entries_; }

    /// @pre the attributes of a file are known
    void noteDestroyed(const Inode& inode) noexcept;

    /// Whether growing must exclude each other, as little is left.
    bool isScarce() const noexcept;

    /// The room of a storage without limits, as far as these let it be used.
    ProviderStorageInfo limited(ProviderStorageInfo info) const noexcept;

    /// @param available  bytes
    Entries entries(std::uint64_t available) const noexcept;

    /// Notes how the pages of a file have changed at the end of the scope, also after an exception. Requires the file's guard.
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
