#include "tests/model/StampLedger.h"

namespace storage::inmemoryprovider::tests {

using boost::posix_time::microsec_clock;
using boost::posix_time::ptime;

void StampLedger::awaitTick() {
    const ptime start = microsec_clock::universal_time();
    while (microsec_clock::universal_time() == start) {
    }
}

void StampLedger::noteSet(const ptime& time) {
    if (!time.is_not_a_date_time()) { // it is unordered, and the clock never returns it
        known_.insert(time);
    }
}

bool StampLedger::agrees(const ModelTime& expected, const ptime& seen) {
    if (const auto* set = std::get_if<ptime>(&expected)) {
        return *set == seen;
    }
    const Stamp stamp = std::get<Stamp>(expected);
    if (const auto learned = stamps_.find(stamp); learned != stamps_.end()) {
        return learned->second == seen;
    }
    stamps_.emplace(stamp, seen);
    return known_.insert(seen).second;
}

} // namespace storage::inmemoryprovider::tests
