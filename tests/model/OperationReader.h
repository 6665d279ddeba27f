#pragma once

#include "tests/model/ByteReader.h"
#include "tests/model/Operation.h"

#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Makes operations out of any bytes. Each takes a few bytes, so that a small change to the bytes is a small change
/// to the sequence: first its kind, then the fields that its kind uses.
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
    foundation::storage::provider::ByteStreamOpenOptions options();
    boost::posix_time::ptime time();
    long amount();

    ByteReader bytes_;
};

} // namespace storage::inmemoryprovider::tests
