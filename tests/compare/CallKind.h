#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/CallProcess.h"
#include "tests/compare/Choice.h"
#include "tests/compare/Outcome.h"

#include <span>
#include <string_view>
#include <vector>

namespace syscalls {

/// The change that a successful call makes to the `TreeSketch`.
enum class Effect {
    Nothing,
    MakesFile,   ///< at the first path
    MakesFolder, ///< at the first path
    MakesLink,   ///< at the first path
    MakesOther,  ///< at the first path
    Links,       ///< at the second path
    Removes,     ///< the first path
    Moves,       ///< the first path to the second
    Exchanges,   ///< the paths of two entries
    OpensFile,   ///< in the slot of the first number; creates the first path if the second number has O_CREAT
    OpensFolder, ///< in the slot of the first number
    Closes,      ///< the slot of the first number
};

/// A kind of call: chooses its arguments and makes it.
struct CallKind {
    std::string_view name;
    unsigned weight; ///< relative frequency
    void (*choose)(Choice& choice, Call& call);
    void (*execute)(CallProcess& process, const Call& call, OutcomeBuilder& outcome);
    Effect effect = Effect::Nothing;
};

// Each group of kinds is defined in its own file.
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
