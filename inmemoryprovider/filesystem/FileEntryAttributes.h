#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdint>

namespace storage::inmemoryprovider {

/// The attributes of a file.
struct FileEntryAttributes {
    std::uint64_t size = 0; ///< in bytes
    boost::posix_time::ptime lastModified;
    bool writable = false;
};

} // namespace storage::inmemoryprovider
