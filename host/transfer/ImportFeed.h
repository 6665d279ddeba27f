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

/// What an import reads: a tree, entry by entry. A folder comes before what is in it, and again when entries of another one came
/// in between. What is not selected does not come.
///
/// Thread safety: one object is for one thread.
class ImportFeed {
public:
    using FileId = std::pair<dev_t, ino_t>;

    struct Entry {
        std::string place;         ///< names the entry in messages
        StoragePath path;          ///< below the top of the tree, which is the root here
        DiskAttributes attributes; ///< with kind, mode and time, unless the folder has none of its own
        std::uint64_t size = 0;    ///< of a file, which may have more bytes by now
        bool hasAttributes = true;
        bool isWanted = true;             ///< otherwise a folder that is only made for something in it
        bool isRepeated = false;          ///< a folder that came before
        std::optional<FileId> file;       ///< of an entry with several names
        std::optional<StoragePath> other; ///< an earlier entry, of which this is another name without content
        std::string skipped;              ///< why the content of the folder does not come; empty if it does
    };

    virtual ~ImportFeed() = default;

    /// Moves to the next entry. One that cannot be read is reported, and left out.
    /// @return the entry, valid until the next call; null at the end
    /// @throws CommandError when there is nothing to go on with; Interrupted
    virtual const Entry* next() = 0;

    /// Leaves out what is still to come below a folder.
    virtual void skipBelow(const StoragePath& folder) = 0;

    /// Moves behind a hole of the file that begins here.
    /// @return its length; 0 if there is none
    virtual std::uint64_t skipHole() = 0;

    /// Reads on in the file, not where a hole begins.
    /// @return number of bytes, which end before the next hole; 0 at the end of the file
    virtual std::size_t read(std::span<char> buffer) = 0;
};

} // namespace storage::host
