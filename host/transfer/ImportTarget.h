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

/// The target of an import.
///
/// Not thread-safe.
class ImportTarget {
public:
    /// A file that is being imported. If it is destroyed before `finish`, the target is unchanged.
    class File {
    public:
        virtual ~File() = default;

        /// Appends bytes.
        virtual void write(std::span<const char> bytes) = 0;

        /// Appends `count` zeros, which are a hole on disk.
        virtual void writeHole(std::uint64_t count) = 0;

        /// Completes the file, which gets its name and its attributes.
        virtual void finish(const DiskAttributes& attributes) = 0;
    };

    /// An existing file or folder of the target.
    struct Existing {
        EntryKind kind = EntryKind::File;
        std::uint64_t size = 0;
        timespec modified{};
        bool isExact = false; ///< the time is that of the source, not rounded to storage time
        std::uint64_t linkGroup = 0;
    };

    virtual ~ImportTarget() = default;

    /// What exists at a path. A target that is empty at first returns nothing.
    virtual std::optional<Existing> find(const StoragePath&) { return std::nullopt; }

    /// Rejects a path at which no entry can be created.
    /// @throws CommandError naming the obstacle
    virtual void requirePlace(const StoragePath& path) = 0;

    /// Begins to fill a folder. Creates it if it is missing. A read-only folder is filled if it gets
    /// attributes.
    /// @param attributes  final attributes, also after an interruption; null for a folder that keeps its own
    virtual void enterFolder(const StoragePath& path, const DiskAttributes* attributes) = 0;

    /// Ends filling the folder that was entered last, and sets its attributes.
    virtual void leaveFolder(const StoragePath& path, const DiskAttributes* attributes) = 0;

    /// Drops the folders that were entered but not left. They keep their current attributes.
    virtual void leaveAll() noexcept = 0;

    /// Creates a file, or replaces the file at `path`, even if that is read-only.
    virtual std::unique_ptr<File> makeFile(const StoragePath& path) = 0;

    /// A number for a file with hard links; 0 if the target creates hard links with `link`.
    virtual std::uint64_t newLinkGroup() = 0;

    /// Makes `path` a hard link of the file at `existing`, which this import has created.
    /// @return false if the target does not support hard links
    virtual bool link(const StoragePath& existing, const StoragePath& path) = 0;

    /// Makes `path` a hard link of the entry at `existing`, or a copy that is exported as a hard link.
    /// Replaces the file at `path`. The entry can also be a symbolic link, fifo or device.
    virtual void addName(const StoragePath& existing, const StoragePath& path) = 0;

    /// Creates or replaces a symbolic link, fifo or device.
    virtual void makeSpecial(const StoragePath& path, const DiskAttributes& attributes) = 0;
};

} // namespace storage::host
