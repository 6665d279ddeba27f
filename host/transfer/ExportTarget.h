#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace storage::host {

/// The target of an export.
///
/// Not thread-safe.
class ExportTarget {
public:
    struct Existing {
        EntryKind kind = EntryKind::File;
        std::uint64_t size = 0;
        timespec modified{};
    };

    virtual ~ExportTarget() = default;

    /// What exists at the place of an entry. A target that is empty at first returns nothing.
    /// @param place  a result of `placeIn`, or the place of the top
    virtual std::optional<Existing> find(const std::string& place) = 0;

    /// The path of the entry `name` of a folder, for `find` and for messages.
    virtual std::string placeIn(const std::string& folder, const std::string& name) const = 0;

    /// Begins to fill a folder in the one that was entered last. Creates it if it is missing.
    virtual void enterFolder(const StoragePath& source, const std::string& name) = 0;

    /// Ends filling the folder that was entered last, and sets its attributes.
    virtual void leaveFolder() = 0;

    /// Adds a file to the folder that was entered last.
    /// @return the number of its bytes; 0 for a hard link of an earlier file
    virtual std::uint64_t addFile(const StoragePath& source, const std::string& name) = 0;

    /// Adds a symbolic link, fifo or device.
    /// @return false if the target does not support this kind of entry
    virtual bool addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) = 0;

    /// Whether the target can take no more entries. The cause has been reported.
    virtual bool isFailed() const noexcept { return false; }
};

} // namespace storage::host
