#pragma once

#include "tests/memory/Description.h"
#include "tests/memory/Guarantee.h"
#include "tests/memory/TreeComparison.h"
#include "tests/memory/TreeShape.h"

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace storage::tests {

/// An operation about to be called on a tree. Everything is prepared except the call itself.
struct Attempt {
    std::function<void()> run;           ///< the call, in which allocations may fail
    std::function<std::string()> result; ///< returns the result of a successful call as text; call it once

    /// Completes the operation after a failure, given the tree before it, as a user would do. If empty, the
    /// call is repeated.
    std::function<void(const TreeSnapshot&)> finish = {};
};

/// A form of an operation, tested on every tree that has the entries it requires.
struct Operation {
    using Needs = std::vector<TreeShape::Role TreeShape::*>;

    /// Whether the operation allocates. The test fails if this is wrong.
    enum class Allocates {
        Always,
        ForLongPaths, ///< otherwise unspecified
        ForLongNames, ///< otherwise unspecified
        InLargeTrees, ///< at most there, for indexes
        Never,
    };

    std::string name;
    Needs needs;
    std::function<Attempt(provider::IProvider&, const TreeShape&)> prepare;
    Allocates allocates = Allocates::ForLongPaths;
    Guarantee guarantee = unchanged;
    std::optional<provider::ErrorCode> refusal = {}; ///< expected error, if refused
    bool isForLargeTrees = true;

    bool canBeTriedOn(const TreeShape& shape) const;

    Operation&& allocating(Allocates when) &&;
    Operation&& leaving(Guarantee behind) &&;
    /// Skips large trees, where the operation behaves like another one in the table.
    Operation&& onSmallTreesOnly() &&;

    /// Expects this error. Skips large trees too.
    Operation&& refusedAs(provider::ErrorCode code) &&;
};

/// An operation with a single call: `call` with a provider and the tree's shape.
template <class Call>
Operation operation(std::string name, Operation::Needs needs, Call call) {
    using provider::IProvider;
    using Answer = std::invoke_result_t<Call, IProvider&, const TreeShape&>;
    const auto prepare = [call](IProvider& provider, const TreeShape& shape) {
        if constexpr (std::is_void_v<Answer>) {
            return Attempt{[call, &provider, &shape] { call(provider, shape); },
                           [] { return std::string(); }};
        } else {
            const auto answer = std::make_shared<std::optional<Answer>>();
            return Attempt{[call, answer, &provider, &shape] { answer->emplace(call(provider, shape)); },
                           [answer] { return described(**answer); }};
        }
    };
    return {.name = std::move(name), .needs = std::move(needs), .prepare = prepare};
}

} // namespace storage::tests
