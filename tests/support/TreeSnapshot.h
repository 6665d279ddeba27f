#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <iosfwd>
#include <map>
#include <string>
#include <string_view>

/// Everything that a host can observe of an entry. A value.
struct EntrySnapshot {
    using Kind = foundation::storage::provider::FolderEntry::EntryType;

    Kind kind;
    boost::posix_time::ptime lastModified;
    bool isWritable;
    std::string bytes; ///< empty for a folder

    bool isFolder() const { return kind == Kind::Folder; }
    bool operator==(const EntrySnapshot&) const = default;
};

void PrintTo(const EntrySnapshot& entry, std::ostream* out);

/// Every entry of a storage by its path, including the root.
using TreeSnapshot = std::map<std::u16string, EntrySnapshot>;

/// Takes a snapshot. Fails the running test unless the tree is consistent: listed entries are found by their
/// paths, and folders can be listed, files measured and read.
TreeSnapshot takeSnapshot(const foundation::storage::provider::IProvider& provider);

/// The snapshot without times: only kinds, bytes and flags.
TreeSnapshot withoutTimes(TreeSnapshot tree);

/// The location of the entry at a path of a snapshot.
foundation::storage::provider::StorageIRI locationOf(std::u16string_view path);
