#pragma once

#include "tests/stress/threads/Attempt.h"
#include "tests/stress/threads/FaultBoard.h"
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

/// One thread's part of the storm: calls operations by chance and checks every answer.
///
/// What it chooses follows from its seed and from the answers that it gets. Owns what it holds open; shares the providers, the places of handing
/// over and the board. For one thread.
class StormThread {
public:
    /// What the threads have in common.
    struct Shared {
        WorldRing worlds;
        Holdings::Exchange exchange;
        FaultBoard faults;
    };

    StormThread(Shared& shared, std::size_t seed);

    /// Calls `operations` operations of providers, and between them those of streams and listings. A fault, its own or
    /// another thread's, ends it early.
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
    std::vector<std::u16string> met_; ///< paths where lately something was found or made
};

} // namespace storage::stress
