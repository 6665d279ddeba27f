#pragma once

#include "tests/model/ModelTime.h"

#include <map>
#include <set>

namespace storage::inmemoryprovider::tests {

/// What the clock said at each of the model's stamps, learned when an entry that carries the stamp is first
/// seen.
///
/// A stamp's time is one that no entry had before; so an entry that should have been stamped and was not
/// gives itself away. For this to hold, `awaitTick` comes before every operation that may stamp.
class StampLedger {
public:
    /// Returns once the clock says something that no stamp so far can say: at most a microsecond from now.
    static void awaitTick();

    /// Tells of a time that a caller set.
    void noteSet(const boost::posix_time::ptime& time);

    /// Whether an entry of the model's time `expected` may show `seen`.
    bool agrees(const ModelTime& expected, const boost::posix_time::ptime& seen);

private:
    std::map<Stamp, boost::posix_time::ptime> stamps_;
    std::set<boost::posix_time::ptime> known_; ///< every time set or learned so far
};

} // namespace storage::inmemoryprovider::tests
