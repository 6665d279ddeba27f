#include "tests/model/Operation.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

namespace storage::inmemoryprovider::tests {

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    out << nameOf(operation.kind);
    switch (operation.kind) {
    case OperationKind::MoveFile:
    case OperationKind::MoveFolder:
        return out << " by policy " << static_cast<int>(operation.policy);
    case OperationKind::OpenStream:
        return out << " (existence " << static_cast<int>(operation.options.existence) << ", content "
                   << static_cast<int>(operation.options.content) << ", append "
                   << static_cast<int>(operation.options.append) << ")";
    case OperationKind::SetWritable:
        return out << (operation.writable ? " to true" : " to false");
    case OperationKind::SetLastModified:
        return out << " to " << operation.time;
    case OperationKind::HasFeature:
        return out << ' ' << static_cast<int>(operation.feature);
    case OperationKind::StreamRead:
    case OperationKind::StreamWrite:
        return out << " of " << operation.amount;
    case OperationKind::StreamSeek:
        return out << " by " << operation.amount << " in direction " << static_cast<int>(operation.direction);
    default:
        return out;
    }
}

} // namespace storage::inmemoryprovider::tests
