#pragma once

#include "tests/model/Operation.h"

#include <rapidcheck/Gen.h>

#include <vector>

namespace storage::inmemoryprovider::tests {

/// The emphasis of a random sequence.
enum class Mix { Everyday, Moves, Content, WeirdPaths };

/// Sequences of up to 320 operations. They shrink to fewer and simpler operations.
rc::Gen<std::vector<Operation>> sequencesRichIn(Mix mix);

} // namespace storage::inmemoryprovider::tests
