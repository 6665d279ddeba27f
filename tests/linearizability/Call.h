#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "tests/model/OperationKind.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>

namespace storage::inmemoryprovider::tests {

/// How many bytes a call reads; files stay shorter.
inline constexpr long mostRead = 64;

/// One call of a thread. Each kind uses the fields that it has a use for. Reading and writing go through the stream that the
/// thread has opened last.
struct Call {
    OperationKind kind = OperationKind::CreateFile;
    std::u16string path = {};
    std::u16string target = {};
    foundation::storage::provider::ReplacementPolicy policy{};
    foundation::storage::provider::ByteStreamOpenOptions options = {};
    boost::posix_time::ptime time = {};
    bool writable = true;
    std::string data = {}; ///< what is written
};

/// As text: the operation and its arguments.
std::string shown(const Call& call);

} // namespace storage::inmemoryprovider::tests
