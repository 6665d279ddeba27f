#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::host {

/// A time that nothing is stamped with unless a check does it.
inline boost::posix_time::ptime longAgo() {
    return boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3), boost::posix_time::hours(4));
}

} // namespace storage::host
