#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::host {

/// The current time in the format of providers.
inline boost::posix_time::ptime utcNow() {
    return boost::posix_time::microsec_clock::universal_time();
}

/// A time in the past. No entry has it unless a check sets it.
inline boost::posix_time::ptime pastTime() {
    return boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3), boost::posix_time::hours(4));
}

} // namespace storage::host
