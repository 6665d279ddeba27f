#pragma once

#include "tests/compare/CallGenerator.h"
#include "tests/compare/Lockstep.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace syscalls {

/// The first call of a sequence to which the two sides gave different answers. A value.
struct Difference {
    Calls calls; ///< up to that call
    Answers answers;

    /// The kind of the call and the fields that differ: what a shorter sequence must show as well.
    std::string signature() const;
};

/// What random calls showed. A value.
struct Totals {
    std::uint64_t calls = 0;
    std::uint64_t succeeded = 0;
    std::map<std::string, std::uint64_t> successesOfKind = {}; ///< with zeros for kinds that only failed
};

/// Compares two file systems by random calls, or by given ones.
///
/// Borrows its parameters. Not thread-safe.
class Comparison {
public:
    Comparison(const Lockstep::Roots& roots, const Exclusions& exclusions)
        : roots_(roots), exclusions_(exclusions) {}

    /// Makes so many random calls, and compares the whole trees at the end.
    std::optional<Difference> tryRandomly(std::uint64_t seed, std::uint64_t calls);

    /// Makes these calls.
    /// @param callsOfEpoch  after how many of them a new epoch begins
    std::optional<Difference> replay(const Calls& calls, std::uint64_t callsOfEpoch);

    /// The same difference after fewer calls.
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
