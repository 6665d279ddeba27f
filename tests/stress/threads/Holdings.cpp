#include "tests/stress/threads/Holdings.h"

namespace storage::stress {

void Holdings::useFile(Random& random) {
    if (files_.empty()) {
        return;
    }
    ++fileUses_;
    if (onceIn(16, random)) {
        swapOne(files_, exchange_.files, random);
        return;
    }
    files_[pick(random, files_.size())].use(random);
}

void Holdings::useListing(Random& random) {
    if (listings_.empty()) {
        return;
    }
    ++listingUses_;
    const std::size_t chosen = pick(random, listings_.size());
    if (onceIn(16, random)) {
        swapOne(listings_, exchange_.listings, random);
    } else if (onceIn(8, random)) {
        keep(listings_, listings_[chosen].clone(), random);
    } else if (listings_[chosen].hasNext()) {
        listings_[chosen].step();
    } else {
        listings_.erase(listings_.begin() + static_cast<std::ptrdiff_t>(chosen));
    }
}

} // namespace storage::stress
