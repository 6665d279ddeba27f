#pragma once

#include "tests/model/Operation.h"

#include <rapidcheck/Gen.h>

#include <vector>

namespace storage::inmemoryprovider::tests {

/// What random sequences are rich in.
enum class Mix { Everyday, Moves, Content, WeirdPaths };

/// Sequences of up to 320 operations. They shrink to fewer and simpler ones.
rc::Gen<std::vector<Operation>> sequencesRichIn(Mix mix);

} // namespace storage::inmemoryprovider::tests
