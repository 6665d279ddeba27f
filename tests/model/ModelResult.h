#pragma once

#include "hostapi/storage/provider/ErrorCode.h"

#include <variant>

namespace storage::inmemoryprovider::tests {

/// How an operation fails: the code, and which of its locations the exception names.
struct Failure {
    enum class Names { Source, Destination };

    foundation::storage::provider::ErrorCode code{};
    Names names = Names::Source;
};

/// The value of an operation that has nothing to tell.
using Done = std::monostate;

template <class Value>
using Result = std::variant<Value, Failure>;

} // namespace storage::inmemoryprovider::tests
