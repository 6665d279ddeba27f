#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/CallProcess.h"
#include "tests/compare/Choice.h"
#include "tests/compare/Outcome.h"

#include <span>
#include <string_view>
#include <vector>

namespace syscalls {

/// What a successful call changes of the sketch.
enum class Effect {
    Nothing,
    MakesFile,   ///< the first path
    MakesFolder, ///< the first path
    MakesLink,   ///< the first path
    MakesOther,  ///< the first path
    Links,       ///< the second path
    Removes,     ///< the first path
    Moves,       ///< the first path to the second
    Exchanges,   ///< both paths
    OpensFile, ///< in the slot of the first number; makes the first path, too, if the flags of the second say so
    OpensFolder, ///< in the slot of the first number
    Closes,      ///< the slot of the first number
};

/// A kind of call: how its arguments are chosen, and how it is made.
struct CallKind {
    std::string_view name;
    unsigned weight; ///< how often it is chosen, beside the others
    void (*choose)(Choice& choice, Call& call);
    void (*execute)(CallProcess& process, const Call& call, OutcomeBuilder& outcome);
    Effect effect = Effect::Nothing;
};

// Each group of kinds is in a file of its own.
std::span<const CallKind> openingCalls();
std::span<const CallKind> contentCalls();
std::span<const CallKind> spaceCalls();
std::span<const CallKind> entryCalls();
std::span<const CallKind> attributeCalls();
std::span<const CallKind> extendedCalls();
std::span<const CallKind> lockCalls();
std::span<const CallKind> treeCalls();

/// All kinds, in the order of their groups.
const std::vector<CallKind>& allKinds();

/// @throws std::runtime_error when no kind has this name
const CallKind& kindNamed(std::string_view name);

} // namespace syscalls
