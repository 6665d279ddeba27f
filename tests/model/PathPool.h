#pragma once

#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Path texts as callers might write them: few enough to collide often, with every oddity of separators, of
/// names that begin like other names, and of code units.
const std::vector<std::u16string>& pathPool();

} // namespace storage::inmemoryprovider::tests
