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

/// What a provider does not keep of imported entries, so that an export can give it back: permissions, owners, nanoseconds,
/// extended attributes, holes, which names are one file; and entries that are neither file nor folder, as a whole. Files
/// and folders with nothing unusual take no memory.
///
/// A name keeps what it was imported with until its file is changed: then it is a file of its own. An entry that is not in the
/// provider has the place of its name until a file or folder takes it.
///
/// Thread safety: one object is for one thread.
class KeptAttributes {
public:
    /// What entries have that need no record.
    struct Usual {
        mode_t fileMode = 0;
        mode_t folderMode = 0;
        DiskOwner owner;
    };

    explicit KeptAttributes(const Usual& usual) : usual_(usual) {}

    /// Without a record of what new files and folders of this process have.
    /// @param mask  the process's umask
    static KeptAttributes ofUmask(mode_t mask);

    /// Replaces what is known of the entry at `path`.
    void set(const StoragePath& path, const DiskAttributes& attributes);

    /// What is known of an entry and not usual. The time only if it is more exact than `stored`, which the provider has.
    DiskAttributes find(const StoragePath& path, const boost::posix_time::ptime& stored) const;

    /// The permission bits of an entry; nothing if they are not known or usual.
    std::optional<mode_t> modeOf(const StoragePath& path) const;

    /// An entry that the provider cannot have.
    struct Special {
        std::u16string name;
        EntryKind kind = EntryKind::SymbolicLink;
    };

    /// Those in a folder, in the order of their names.
    std::vector<Special> specialIn(const StoragePath& folder) const;

    /// A number for the names of one file, for `DiskAttributes::linkGroup`.
    std::uint64_t newLinkGroup() noexcept { return ++lastLinkGroup_; }

    /// Follows the entry at `from`, and all below it, to `to`.
    void moved(const StoragePath& from, const StoragePath& to);

    /// A copy has what its source has, but is a file of its own.
    void copied(const StoragePath& from, const StoragePath& to);

    /// The same of the entries in a folder that the provider does not have.
    void copiedSpecial(const StoragePath& from, const StoragePath& to);

    /// The bytes or an attribute of the file at `path` was changed, or it was made: it is a file of its own.
    void changed(const StoragePath& path);

    /// Forgets the entry at `path` and all below it.
    void removed(const StoragePath& path);

    /// How many entries have a record.
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
        std::unique_ptr<Rare> rare; ///< null for most

        bool isSpecial() const noexcept { return kind != EntryKind::File && kind != EntryKind::Folder; }
        bool isEmpty() const noexcept { return !hasTime && !mode && !isSparse && !rare && !isSpecial(); }
    };
    using Folder = std::map<std::u16string, Record, std::less<>>; ///< by name; the root has an empty one

    Record recordOf(const DiskAttributes& attributes) const;
    const Record* findRecord(const StoragePath& path) const;
    void put(const StoragePath& path, Record record);
    void erase(const StoragePath& path);

    const Usual usual_;
    std::map<std::u16string, Folder> folders_; ///< by path of the folder; none is empty
    std::uint64_t lastLinkGroup_ = 0;
};

} // namespace storage::host
