#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"
#include "host/transfer/RootAttributes.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <span>

namespace storage::host {

/// What an import fills.
///
/// Thread safety: one object is for one thread.
class ImportTarget {
public:
    /// A file that is being imported. Destroyed before it was finished, it leaves what was there before.
    class File {
    public:
        virtual ~File() = default;

        /// Behind what was written before.
        virtual void write(std::span<const char> bytes) = 0;

        /// The same with `count` zeros that the disk keeps as a hole.
        virtual void writeHole(std::uint64_t count) = 0;

        /// The file has all its bytes, and gets its name and its attributes.
        virtual void finish(const DiskAttributes& attributes) = 0;
    };

    /// A file or folder that is in the target.
    struct Existing {
        EntryKind kind = EntryKind::File;
        std::uint64_t size = 0;
        timespec modified{};
        bool isExact = false; ///< the time is that of the source, otherwise rounded as storages do
        std::uint64_t linkGroup = 0;
    };

    virtual ~ImportTarget() = default;

    /// What is at a path; nothing also for a target that nothing can be in.
    virtual std::optional<Existing> find(const StoragePath&) { return std::nullopt; }

    /// Refuses a path at which nothing can be.
    /// @throws CommandError naming what is in the way
    virtual void requirePlace(const StoragePath& path) = 0;

    /// Begins to fill a folder, which is made if it is missing. A read-only one is filled too if it gets attributes.
    /// @param attributes  that it has in the end, also if an interruption leaves it incomplete; null for a folder that keeps its own
    virtual void enterFolder(const StoragePath& path, const DiskAttributes* attributes) = 0;

    /// Ends the filling of the folder that was entered last.
    virtual void leaveFolder(const StoragePath& path, const DiskAttributes* attributes) = 0;

    /// Forgets the folders that were entered and not left. They keep the attributes that they have by then.
    virtual void leaveAll() noexcept = 0;

    /// A new file, or one that replaces the file at `path`, also a read-only one.
    virtual std::unique_ptr<File> makeFile(const StoragePath& path) = 0;

    /// A number for a file of the disk that has several names; 0 if `link` is how the target keeps them.
    virtual std::uint64_t newLinkGroup() = 0;

    /// Makes `path` one more name of the file at `existing`, which this import has made.
    /// @return false if the target has only files with one name
    virtual bool link(const StoragePath& existing, const StoragePath& path) = 0;

    /// Makes `path` one more name of the file at `existing`, or a copy that is exported as one, replacing the file there. A
    /// symbolic link, fifo or device can have several names, too.
    virtual void addName(const StoragePath& existing, const StoragePath& path) = 0;

    /// Makes a symbolic link, fifo or device, or replaces one.
    virtual void makeSpecial(const StoragePath& path, const DiskAttributes& attributes) = 0;
};

} // namespace storage::host
