#pragma once

#include <string>

namespace storage::host {

/// Formats a size in bytes in units of 1024, rounded up: "0", "1023", "1.5K", "12M". Values below ten units
/// have one decimal digit.
std::string humanSize(unsigned long long bytes);

} // namespace storage::host
