#pragma once

#include "hostapi/storage/provider/FolderEntry.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>

namespace storage::tests {

/// All that can be told of one entry.
struct EntrySnapshot {
    using Kind = foundation::storage::provider::FolderEntry::EntryType;

    Kind kind;
    std::u16string folder; ///< the path of the folder that lists it; empty for the root
    std::u16string name;   ///< as the folder lists it
    boost::posix_time::ptime lastModified;
    bool writable;
    std::string bytes; ///< empty for a folder

    bool isFolder() const { return kind == Kind::Folder; }
    bool operator==(const EntrySnapshot&) const = default;
};

} // namespace storage::tests
