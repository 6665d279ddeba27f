#pragma once

#include "tests/linearizability/Call.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// The kinds of calls in a round.
enum class RoundMix : std::uint8_t {
    Random,          ///< everything except setting times and flags, on paths that often collide
    FolderMoves,     ///< one thread moves a folder back and forth, the others query, open and create below it
    FolderCreations, ///< one thread creates and removes a folder, the others query it and create below it
    Replacement,     ///< one thread replaces a file by moves, the others query and open it
    Setters, ///< one thread moves a folder back and forth, the others use times and flags of its files
};

inline constexpr std::array allMixes = {RoundMix::Random, RoundMix::FolderMoves, RoundMix::FolderCreations,
                                        RoundMix::Replacement, RoundMix::Setters};
inline constexpr std::array<const char*, allMixes.size()> mixNames = {
    "random", "folder-moves", "folder-creation", "replacement", "setters"};

constexpr const char* nameOf(RoundMix mix) {
    return mixNames[static_cast<std::size_t>(mix)];
}

/// The calls of a round: those before the threads start, and those of each thread.
struct RoundPlan {
    std::vector<Call> preparation;
    std::vector<std::vector<Call>> threads;
};

/// @param seed  determines the plan
RoundPlan planOf(RoundMix mix, std::uint64_t seed);

} // namespace storage::inmemoryprovider::tests
