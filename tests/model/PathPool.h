#pragma once

#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// A small set of path texts, so that they often collide. Includes unusual separators, names with common
/// prefixes, and special code units.
const std::vector<std::u16string>& pathPool();

} // namespace storage::inmemoryprovider::tests
