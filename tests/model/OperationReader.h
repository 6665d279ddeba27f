#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/ByteReader.h"
#include "tests/model/Operation.h"

#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Decodes operations from any bytes. Each operation takes a few bytes: first its kind, then the fields of
/// its kind. A small change of the bytes is therefore a small change of the sequence.
class OperationReader {
public:
    explicit OperationReader(ByteReader bytes) : bytes_(bytes) {}

    /// All operations up to the end of the bytes.
    std::vector<Operation> operations();

private:
    Operation operation();
    LocationChoice location();
    PathChoice path(PathChoice::From from);
    std::u16string text();
    provider::ByteStreamOpenOptions options();
    boost::posix_time::ptime time();
    long amount();

    ByteReader bytes_;
};

} // namespace storage::inmemoryprovider::tests
