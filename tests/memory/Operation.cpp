#include "tests/memory/Operation.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>

namespace storage::tests {

bool Operation::canBeTriedOn(const TreeShape& shape) const {
    const bool hasNeeds =
        std::all_of(needs.begin(), needs.end(), [&](auto role) { return (shape.*role).has_value(); });
    return hasNeeds && (isForLargeTrees || !shape.isLarge());
}

Operation&& Operation::allocating(Allocates when) && {
    allocates = when;
    return std::move(*this);
}

Operation&& Operation::leaving(Guarantee behind) && {
    guarantee = std::move(behind);
    return std::move(*this);
}

Operation&& Operation::onSmallTreesOnly() && {
    isForLargeTrees = false;
    return std::move(*this);
}

Operation&& Operation::refusedAs(provider::ErrorCode code) && {
    refusal = code;
    isForLargeTrees = false;
    return std::move(*this);
}

} // namespace storage::tests
