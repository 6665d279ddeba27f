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

/// What an export or a check reads.
///
/// Thread safety: one object is for one thread.
class ExportSource {
public:
    struct Child {
        std::u16string name;
        EntryKind kind = EntryKind::File;
    };

    struct Entry {
        DiskAttributes attributes; ///< the time always; UTIME_OMIT where the storage has none
        bool isWritable = true;
    };

    /// Whose attributes count for what is on the disk already.
    enum class Authority {
        Disk,   ///< a file that is replaced and a folder that is added to keep theirs
        Source, ///< they get those of the source, which knows all of them
    };

    /// An open file, read from its beginning to its end.
    class Reader {
    public:
        virtual ~Reader() = default;

        /// Moves behind a hole that begins here.
        /// @return its length; 0 if there is none
        virtual std::uint64_t skipHole() = 0;

        /// Reads on, not where a hole begins.
        /// @return number of bytes, which end before the next hole; 0 at the end of the file
        virtual std::size_t read(std::span<char> buffer) = 0;
    };

    virtual ~ExportSource() = default;

    virtual Authority authority() const noexcept = 0;

    /// The kind of a file or folder.
    /// @throws CommandError when there is none
    virtual EntryKind kindOf(const StoragePath& path) = 0;

    /// What is in a folder, in the order of the names.
    virtual std::vector<Child> childrenOf(const StoragePath& folder) = 0;

    virtual Entry entryAt(const StoragePath& path, EntryKind kind) = 0;

    virtual std::uint64_t sizeOf(const StoragePath& file) = 0;

    virtual std::unique_ptr<Reader> open(const StoragePath& file) = 0;
};

} // namespace storage::host
