#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::inmemoryprovider {

/// The attributes of a folder.
struct FolderEntryAttributes {
    boost::posix_time::ptime lastModified;
    bool writable = false;
};

} // namespace storage::inmemoryprovider
