#pragma once

#include "tests/model/ModelTime.h"

#include <map>
#include <set>

namespace storage::inmemoryprovider::tests {

/// Learns the clock time of each of the model's stamps, when an entry with that stamp is first seen.
///
/// The time of a stamp is one that no entry had before, so an entry that should have been stamped but was not
/// is detected. Precondition: `awaitTick` is called before every operation that may stamp.
class StampLedger {
public:
    /// Waits until the clock returns a time that no stamp has yet: at most a microsecond.
    static void awaitTick();

    /// Registers a time that a caller set.
    void noteSet(const boost::posix_time::ptime& time);

    /// Whether an entry with the model's time `expected` may have the time `seen`.
    bool agrees(const ModelTime& expected, const boost::posix_time::ptime& seen);

private:
    std::map<Stamp, boost::posix_time::ptime> stamps_;
    std::set<boost::posix_time::ptime> known_; ///< all times set or learned so far
};

} // namespace storage::inmemoryprovider::tests
