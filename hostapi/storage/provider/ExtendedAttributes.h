#pragma once

#include "hostapi/storage/provider/FolderEntry.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace foundation::storage::provider {

/// The attributes of a file or folder. A value.
struct ExtendedAttributes {
    FolderEntry::EntryType type = FolderEntry::EntryType::File; ///< file or folder
    unsigned long size = 0;                                     ///< bytes; 0 for a folder
    boost::posix_time::ptime lastModified;                      ///< UTC, to the microsecond
    bool writable = false; ///< as in `FileAttributes` and `FolderAttributes`
};

} // namespace foundation::storage::provider
