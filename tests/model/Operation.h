#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ExtendedFeature.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/LocationChoice.h"
#include "tests/model/OperationKind.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdint>
#include <ios>
#include <ostream>

namespace storage::inmemoryprovider::tests {

/// A step of a random sequence. Each kind uses some of the fields.
struct Operation {
    OperationKind kind = OperationKind::CreateFile;
    LocationChoice location;
    LocationChoice destination;
    provider::ReplacementPolicy policy{};
    provider::ByteStreamOpenOptions options;
    provider::ExtendedFeature feature{};
    boost::posix_time::ptime time;
    bool writable = false;
    long amount = 0; ///< bytes to read or write, or offset of a seek
    std::ios_base::seekdir direction = std::ios_base::beg;
    std::uint8_t slot = 0; ///< selects an open stream or listing, modulo their number
};

/// Prints the name and the arguments except the locations, which depend on the tree.
std::ostream& operator<<(std::ostream& out, const Operation& operation);

} // namespace storage::inmemoryprovider::tests
