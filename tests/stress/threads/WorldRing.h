#pragma once

#include "tests/stress/threads/Random.h"
#include "tests/stress/threads/World.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace storage::stress {

/// The providers that the threads of the storm share: one that lasts, and some that are replaced all the time while
/// other threads still use them.
///
/// `mutex_` guards the pointers; what is replaced dies outside it, on whichever thread is the last to let go. Thread
/// safety: every operation may be called from any number of threads.
class WorldRing {
public:
    WorldRing();

    /// One of them; the one that lasts more often than the others.
    std::shared_ptr<const World> any(Random& random) const;

    /// Builds a provider that takes the place of one of those that do not last.
    void replaceOne(Random& random);

    std::vector<std::shared_ptr<const World>> all() const;

    /// How many providers were built so far.
    std::size_t built() const { return built_; }

private:
    std::shared_ptr<const World> build();

    mutable std::mutex mutex_;
    std::array<std::shared_ptr<const World>, 4> worlds_; ///< the first one lasts
    std::atomic<std::size_t> built_ = 0;
};

} // namespace storage::stress
