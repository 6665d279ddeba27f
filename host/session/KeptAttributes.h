#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace storage::host {

/// Keeps the attributes of imported entries that a provider cannot store, so that an export can restore them:
/// permissions, owners, nanoseconds, extended attributes, holes and hard links. Also keeps entries that are
/// neither file nor folder. Files and folders with default attributes use no memory.
///
/// A file that is changed leaves its group of hard links and keeps its other attributes. A special entry is
/// dropped when a file or folder of the provider gets its name.
///
/// Not thread-safe.
class KeptAttributes {
public:
    /// The attributes of entries without a record.
    struct Defaults {
        mode_t fileMode = 0;
        mode_t folderMode = 0;
        DiskOwner owner;
    };

    explicit KeptAttributes(const Defaults& defaults) : defaults_(defaults) {}

    /// Uses the defaults of new files and folders of this process.
    /// @param mask  the process's umask
    static KeptAttributes ofUmask(mode_t mask);

    /// Replaces the record of the entry at `path`.
    void set(const StoragePath& path, const DiskAttributes& attributes);

    /// The kept attributes of an entry. Includes the time only if it is more precise than `stored`, the
    /// provider's time.
    DiskAttributes find(const StoragePath& path, const boost::posix_time::ptime& stored) const;

    /// The permission bits of an entry; nothing if they are unknown or the default.
    std::optional<mode_t> modeOf(const StoragePath& path) const;

    /// An entry that the provider cannot store.
    struct Special {
        std::u16string name;
        EntryKind kind = EntryKind::SymbolicLink;
    };

    /// The special entries of a folder, sorted by name.
    std::vector<Special> specialIn(const StoragePath& folder) const;

    /// A unique number for the names of one file, see `DiskAttributes::linkGroup`.
    std::uint64_t newLinkGroup() noexcept { return ++lastLinkGroup_; }

    /// Moves the records of the entry at `from`, and of all entries below it, to `to`.
    void moved(const StoragePath& from, const StoragePath& to);

    /// Copies the record of a file, without its link group.
    void copied(const StoragePath& from, const StoragePath& to);

    /// Copies the special entries of a folder.
    void copiedSpecial(const StoragePath& from, const StoragePath& to);

    /// Notes that the file at `path` was created, or that its bytes or attributes were changed. Removes it
    /// from its link group, and drops a special entry of that name.
    void changed(const StoragePath& path);

    /// Drops the records of the entry at `path` and of all entries below it.
    void removed(const StoragePath& path);

    /// Number of records.
    std::size_t size() const noexcept;

private:
    struct Rare {
        std::optional<DiskOwner> owner;
        Xattrs xattrs;
        std::string linkTarget;
        dev_t device = 0;
        std::uint64_t linkGroup = 0;
    };
    struct Record {
        Record() = default;
        Record(const Record& other);
        Record(Record&&) noexcept = default;
        Record& operator=(const Record&) = delete;
        Record& operator=(Record&&) noexcept = default;
        ~Record() = default;

        timespec modified{};
        std::optional<mode_t> mode;
        EntryKind kind = EntryKind::File;
        bool hasTime = false;
        bool isSparse = false;
        std::unique_ptr<Rare> rare; ///< null for most entries

        bool isSpecial() const noexcept { return kind != EntryKind::File && kind != EntryKind::Folder; }
        bool isEmpty() const noexcept { return !hasTime && !mode && !isSparse && !rare && !isSpecial(); }
    };
    using Folder = std::map<std::u16string, Record, std::less<>>; ///< by name; the root has an empty one

    Record recordOf(const DiskAttributes& attributes) const;
    const Record* findRecord(const StoragePath& path) const;
    void put(const StoragePath& path, Record record);
    void erase(const StoragePath& path);

    const Defaults defaults_;
    std::map<std::u16string, Folder> folders_; ///< by path of the folder; none is empty
    std::uint64_t lastLinkGroup_ = 0;
};

} // namespace storage::host
