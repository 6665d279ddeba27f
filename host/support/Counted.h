#pragma once

#include <string>

namespace storage::host {

/// "1 folder", "2 folders".
std::string counted(unsigned long long number, const std::string& noun);

/// "1 entry", "2 entries".
std::string counted(unsigned long long number, const std::string& singular, const std::string& plural);

} // namespace storage::host
