#pragma once

#include "tests/compare/CallKind.h"
#include "tests/compare/Choice.h"
#include "tests/compare/TreeSketch.h"

#include <cstdint>
#include <vector>

namespace syscalls {

/// Generates random calls. Calls are reproducible: they depend only on the seed and on which calls succeeded.
///
/// Borrows the exclusions. Not thread-safe.
class CallGenerator {
public:
    CallGenerator(std::uint64_t seed, const Exclusions& exclusions);

    Call next();

    /// Reports that a call succeeded, so that later calls can build on it.
    void noteSuccess(const Call& call);

private:
    void noteOpening(const Call& call);

    TreeSketch sketch_;
    Choice choice_;
    const bool usesRootOnly_;
    std::vector<const CallKind*> kinds_; ///< each repeated according to its weight
};

} // namespace syscalls
