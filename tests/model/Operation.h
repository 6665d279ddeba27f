#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ExtendedFeature.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "tests/model/LocationChoice.h"
#include "tests/model/OperationKind.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdint>
#include <ios>
#include <ostream>

namespace storage::inmemoryprovider::tests {

/// One step of a random sequence. Each kind uses the fields that it has a use for.
struct Operation {
    OperationKind kind = OperationKind::CreateFile;
    LocationChoice location;
    LocationChoice destination;
    foundation::storage::provider::ReplacementPolicy policy{};
    foundation::storage::provider::ByteStreamOpenOptions options;
    foundation::storage::provider::ExtendedFeature feature{};
    boost::posix_time::ptime time;
    bool writable = false;
    long amount = 0; ///< bytes to read or write, or the offset of a seek
    std::ios_base::seekdir direction = std::ios_base::beg;
    std::uint8_t slot = 0; ///< which of the open streams or listings, modulo their number
};

/// Its name and what it is called with, but for the locations, which depend on the tree.
std::ostream& operator<<(std::ostream& out, const Operation& operation);

} // namespace storage::inmemoryprovider::tests
