#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <iosfwd>
#include <map>
#include <string>

/// What there is to know of an entry of a storage. A value.
struct EntryDescription {
    std::string content;  ///< the bytes; "folder" of a folder
    std::string modified; ///< to the microsecond
    bool isWritable;

    bool operator==(const EntryDescription&) const = default;
};

void PrintTo(const EntryDescription& entry, std::ostream* out);

/// A whole tree by path: "/" the root, "/d/" a folder, "/d/f" a file. Names must be printable.
using TreeDescription = std::map<std::string, EntryDescription>;

TreeDescription describe(const foundation::storage::provider::IProvider& provider);

/// The same for bytes and flags alone: without the times.
TreeDescription withoutTimes(TreeDescription tree);
