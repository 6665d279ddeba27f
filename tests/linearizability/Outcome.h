#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/Answer.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// The result of a call. Fields that its kind does not return keep their initial values.
struct Outcome {
    storage::tests::Answer ending = {};
    bool exists = false;
    std::vector<provider::FolderEntry> listing = {};
    std::string bytes = {}; ///< that were read

    // Attributes, which the search compares one by one.
    std::uint64_t size = 0;
    boost::posix_time::ptime lastModified = {};
    bool writable = false;
};

/// As text, for a call of any kind.
std::string shown(const Outcome& outcome);

} // namespace storage::inmemoryprovider::tests
