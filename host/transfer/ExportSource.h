#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace storage::host {

/// The source of an export or a check.
///
/// Not thread-safe.
class ExportSource {
public:
    struct Child {
        std::u16string name;
        EntryKind kind = EntryKind::File;
    };

    /// Some of the entries of a folder, sorted by name.
    struct Part {
        std::vector<Child> children;
        std::uint64_t next = 0; ///< position of the next part; 0 for the last one
    };

    struct Entry {
        DiskAttributes attributes; ///< the time is always set; UTIME_OMIT where the storage has none
        bool isWritable = true;
    };

    /// Which attributes apply to entries that exist on the disk already.
    enum class Authority {
        Disk,   ///< replaced files and extended folders keep their own
        Source, ///< they get those of the source, which has all attributes
    };

    /// An open file, read from its beginning to its end.
    class Reader {
    public:
        virtual ~Reader() = default;

        /// Skips a hole at the current position.
        /// @return its length; 0 if there is none
        virtual std::uint64_t skipHole() = 0;

        /// Reads the next bytes. Precondition: no hole begins here.
        /// @return number of bytes, which end before the next hole; 0 at the end of the file
        virtual std::size_t read(std::span<char> buffer) = 0;
    };

    virtual ~ExportSource() = default;

    virtual Authority authority() const noexcept = 0;

    /// The kind of an entry.
    /// @throws CommandError when there is none
    virtual EntryKind kindOf(const StoragePath& path) = 0;

    /// The entries of a folder, in one part or several.
    /// @param position  0 for the first part
    virtual Part childrenFrom(const StoragePath& folder, std::uint64_t position) = 0;

    virtual Entry entryAt(const StoragePath& path, EntryKind kind) = 0;

    virtual std::uint64_t sizeOf(const StoragePath& file) = 0;

    virtual std::unique_ptr<Reader> open(const StoragePath& file) = 0;
};

} // namespace storage::host
