#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/DiskAttributes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <utility>

namespace storage::host {

/// The source of an import: a tree, read entry by entry. A folder comes before its content, and comes again
/// if entries of other folders came in between. Entries that are not selected are left out.
///
/// Not thread-safe.
class ImportFeed {
public:
    using FileId = std::pair<dev_t, ino_t>;

    struct Entry {
        std::string place;         ///< of the entry in messages
        StoragePath path;          ///< relative to the top of the tree, which is the root
        DiskAttributes attributes; ///< with kind, mode and time, if `hasAttributes`
        std::uint64_t size = 0;    ///< of a file, which may have grown meanwhile
        bool hasAttributes = true;
        bool isWanted = true;             ///< false for a folder that is not selected itself
        bool isRepeated = false;          ///< a folder that came before
        std::optional<FileId> file;       ///< of an entry with hard links
        std::optional<StoragePath> other; ///< an earlier name of the same file; content may be missing here
        std::string skipped;              ///< why the content of the folder is left out; empty if it is not
    };

    virtual ~ImportFeed() = default;

    /// Moves to the next entry. An entry that cannot be read is reported and left out.
    /// @return the entry, valid until the next call; null at the end
    /// @throws CommandError when nothing more can be read; Interrupted
    virtual const Entry* next() = 0;

    /// Leaves out all further entries of a folder.
    virtual void skipBelow(const StoragePath& folder) = 0;

    /// Skips a hole of the file at the current position.
    /// @return its length; 0 if there is none
    virtual std::uint64_t skipHole() = 0;

    /// Reads the next bytes of the file. Precondition: no hole begins here.
    /// @return number of bytes, which end before the next hole; 0 at the end of the file
    virtual std::size_t read(std::span<char> buffer) = 0;
};

} // namespace storage::host
