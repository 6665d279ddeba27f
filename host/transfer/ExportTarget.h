#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace storage::host {

/// What an export fills.
///
/// Thread safety: one object is for one thread.
class ExportTarget {
public:
    struct Existing {
        EntryKind kind = EntryKind::File;
        std::uint64_t size = 0;
        timespec modified{};
    };

    virtual ~ExportTarget() = default;

    /// What has the place of an entry already; nothing also for a target that nothing can be in.
    /// @param place  the place as this object spells it
    virtual std::optional<Existing> find(const std::string& place) = 0;

    /// The place of an entry of a folder.
    virtual std::string placeIn(const std::string& folder, const std::string& name) const = 0;

    /// Begins to fill a folder in the one that was entered last. It is made if it is missing.
    virtual void enterFolder(const StoragePath& source, const std::string& name) = 0;

    /// Ends the filling of the folder that was entered last, and gives it its attributes.
    virtual void leaveFolder() = 0;

    /// Adds a file to the folder that was entered last.
    /// @return the number of its bytes, unless they are those of an earlier file
    virtual std::uint64_t addFile(const StoragePath& source, const std::string& name) = 0;

    /// Adds a symbolic link, fifo or device.
    /// @return whether such entries can be in the target
    virtual bool addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) = 0;

    /// Whether nothing more can be added, which was reported.
    virtual bool isFailed() const noexcept { return false; }
};

} // namespace storage::host
