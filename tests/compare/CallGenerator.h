#pragma once

#include "tests/compare/CallKind.h"
#include "tests/compare/Choice.h"
#include "tests/compare/TreeSketch.h"

#include <cstdint>
#include <vector>

namespace syscalls {

/// Makes up calls. The same seed gives the same calls, as long as the same ones succeed.
///
/// Borrows the exclusions. Not thread-safe.
class CallGenerator {
public:
    CallGenerator(std::uint64_t seed, const Exclusions& exclusions);

    Call next();

    /// The last call has succeeded, so later ones may rely on what it did.
    void noteSuccess(const Call& call);

private:
    void noteOpening(const Call& call);

    TreeSketch sketch_;
    Choice choice_;
    const bool isSuperuserAlone_;
    std::vector<const CallKind*> kinds_; ///< each as often as its weight says
};

} // namespace syscalls
