#pragma once

#include <string>

namespace storage::host {

/// A number of bytes for people, in units of 1024, rounded up: "0", "1023", "1.5K", "12M". Below ten units it has one
/// digit behind the point.
std::string humanSize(unsigned long long bytes);

} // namespace storage::host
