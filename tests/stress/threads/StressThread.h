#pragma once

#include "tests/stress/threads/Attempt.h"
#include "tests/stress/threads/FirstViolation.h"
#include "tests/stress/threads/Holdings.h"
#include "tests/stress/threads/Operation.h"
#include "tests/stress/threads/Random.h"
#include "tests/stress/threads/Tally.h"
#include "tests/stress/threads/World.h"
#include "tests/stress/threads/WorldRing.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace storage::stress {

/// One thread of the test: calls random operations and checks every result.
///
/// Its choices depend only on the seed and on the results. Owns its streams and listings. Shares the
/// providers, the exchange and the first violation. Not thread-safe.
class StressThread {
public:
    /// State shared by the threads.
    struct Shared {
        WorldRing worlds;
        Holdings::Exchange exchange;
        FirstViolation violation;
    };

    StressThread(Shared& shared, std::size_t seed);

    /// Calls this number of provider operations, with stream and listing operations in between. Ends early
    /// after a violation in any thread.
    void run(std::size_t operations);

    const Tally& tally() const { return tally_; }
    const Holdings& holdings() const { return holdings_; }

private:
    void changeWorld();
    void callProvider();
    std::u16string anySource();
    void remember(const Operation& operation, const std::u16string& path);

    Shared& shared_;
    Random random_;
    std::shared_ptr<const World> world_;
    Holdings holdings_;
    Tally tally_;
    std::vector<std::u16string> met_; ///< recent paths where an entry was found or created
};

} // namespace storage::stress
