#pragma once

#include "tests/compare/CallGenerator.h"
#include "tests/compare/Lockstep.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace syscalls {

/// The first call of a sequence with different results on the two sides. A value.
struct Difference {
    Calls calls; ///< up to that call
    Answers answers;

    /// The kind of the call and the differing fields. A shrunk sequence must have the same signature.
    std::string signature() const;
};

/// Statistics of random calls. A value.
struct Totals {
    std::uint64_t calls = 0;
    std::uint64_t succeeded = 0;
    std::map<std::string, std::uint64_t> successesOfKind = {}; ///< includes kinds that never succeeded
};

/// Compares two file systems by random calls, or by a given sequence.
///
/// Borrows its parameters. Not thread-safe.
class Comparison {
public:
    Comparison(const Lockstep::Roots& roots, const Exclusions& exclusions)
        : roots_(roots), exclusions_(exclusions) {}

    /// Makes this number of random calls, and then compares the whole trees.
    std::optional<Difference> tryRandomly(std::uint64_t seed, std::uint64_t calls);

    /// Makes these calls.
    /// @param callsOfEpoch  number of calls between epochs
    std::optional<Difference> replay(const Calls& calls, std::uint64_t callsOfEpoch);

    /// Finds the same difference with fewer calls.
    Difference shrink(const Difference& difference);

    const Totals& totals() const { return totals_; }

private:
    std::optional<Difference> make(const Calls& batch, Lockstep& lockstep, Calls& made,
                                   CallGenerator* generator);
    void note(const Call& call, const Answers& answers, CallGenerator& generator);

    const Lockstep::Roots& roots_;
    const Exclusions& exclusions_;
    Totals totals_;
};

} // namespace syscalls
