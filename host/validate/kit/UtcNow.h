#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::host {

/// The time as storages keep it.
inline boost::posix_time::ptime utcNow() {
    return boost::posix_time::microsec_clock::universal_time();
}

} // namespace storage::host
