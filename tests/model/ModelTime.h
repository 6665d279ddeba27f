#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <variant>

namespace storage::inmemoryprovider::tests {

/// One reading of the clock by the provider. The model knows which entries share a reading, but not its
/// value.
enum class Stamp : unsigned {};

/// A last-modified time: set by the caller in microseconds, or stamped by the provider.
using ModelTime = std::variant<boost::posix_time::ptime, Stamp>;

} // namespace storage::inmemoryprovider::tests
