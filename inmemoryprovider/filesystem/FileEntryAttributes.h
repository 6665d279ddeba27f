#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdint>

namespace storage::inmemoryprovider {

/// What a file tells of itself.
struct FileEntryAttributes {
    std::uint64_t size = 0; ///< in bytes
    boost::posix_time::ptime lastModified;
    bool writable = false;
};

} // namespace storage::inmemoryprovider
