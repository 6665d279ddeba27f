#pragma once

#include "host/storage/StoragePath.h"

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// The permissions of imported entries, which a provider does not keep. Entries with the usual permissions take no memory.
///
/// Thread safety: one object is for one thread.
class EntryModes {
public:
    enum class Kind { File, Folder };

    /// @param usualFile, usualFolder  permission bits of entries that need no record
    EntryModes(mode_t usualFile, mode_t usualFolder) : usualFile_(usualFile), usualFolder_(usualFolder) {}

    /// Without a record of entries that have the permissions of new files and folders of the disk.
    /// @param mask  the process's umask
    static EntryModes ofUmask(mode_t mask) { return {0666 & ~mask, 0777 & ~mask}; }

    /// @param mode  permission bits, all twelve
    void set(const StoragePath& path, Kind kind, mode_t mode);

    /// The permission bits of an entry; nothing if they are not known or usual.
    std::optional<mode_t> find(const StoragePath& path) const;

    /// All that is recorded, by path.
    const std::map<std::u16string, mode_t>& recorded() const noexcept { return recorded_; }

    /// Follows the entry at `from`, and all below it, to `to`.
    void moved(const StoragePath& from, const StoragePath& to);

    /// A copy has the permissions of its source.
    void copied(const StoragePath& from, const StoragePath& to);

    void removed(const StoragePath& path) { recorded_.erase(path.text()); }

private:
    mode_t usualFile_;
    mode_t usualFolder_;
    std::map<std::u16string, mode_t> recorded_;
};

} // namespace storage::host
