#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/linearizability/Call.h"
#include "tests/linearizability/Outcome.h"

#include <memory>

namespace storage::inmemoryprovider::tests {

/// Makes calls on a provider. Owns the stream that was opened last. Not thread-safe.
class Caller {
public:
    explicit Caller(const provider::IProvider& provider) : provider_(provider) {}

    /// Whether the call is possible: reads and writes require an open stream.
    bool canMake(const Call& call) const;

    /// Makes the call. Exceptions that the contract does not allow propagate.
    Outcome make(const Call& call);

private:
    void run(const Call& call, Outcome& outcome);

    const provider::IProvider& provider_;
    std::unique_ptr<provider::ByteStream> stream_;
};

} // namespace storage::inmemoryprovider::tests
