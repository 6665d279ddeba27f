#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/OperationKind.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>

namespace storage::inmemoryprovider::tests {

/// Bytes per read. Files stay shorter.
inline constexpr long mostRead = 64;

/// A call of a thread. Each kind uses some of the fields. Reads and writes use the stream that the thread
/// opened last.
struct Call {
    OperationKind kind = OperationKind::CreateFile;
    std::u16string path = {};
    std::u16string target = {};
    provider::ReplacementPolicy policy{};
    provider::ByteStreamOpenOptions options = {};
    boost::posix_time::ptime time = {};
    bool writable = true;
    std::string data = {}; ///< to be written
};

/// The operation and its arguments as text.
std::string shown(const Call& call);

} // namespace storage::inmemoryprovider::tests
