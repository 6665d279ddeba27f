#include "tests/linearizability/Call.h"

#include "tests/model/ShownText.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

#include <sstream>

namespace storage::inmemoryprovider::tests {

std::string shown(const Call& call) {
    std::ostringstream text;
    text << nameOf(call.kind);
    if (!call.path.empty()) {
        text << ' ' << shown(call.path);
    }
    switch (call.kind) {
    case OperationKind::MoveFile:
    case OperationKind::MoveFolder:
        text << " to " << shown(call.target) << " by policy " << static_cast<int>(call.policy);
        break;
    case OperationKind::OpenStream:
        text << " (existence " << static_cast<int>(call.options.existence) << ", content "
             << static_cast<int>(call.options.content) << ", append " << static_cast<int>(call.options.append)
             << ')';
        break;
    case OperationKind::SetLastModified:
        text << " to " << call.time;
        break;
    case OperationKind::SetWritable:
        text << " to " << std::boolalpha << call.writable;
        break;
    case OperationKind::StreamWrite:
        text << " of \"" << call.data << '"';
        break;
    default:
        break;
    }
    return text.str();
}

} // namespace storage::inmemoryprovider::tests
