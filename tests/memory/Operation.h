#pragma once

#include "tests/memory/Description.h"
#include "tests/memory/Guarantee.h"
#include "tests/memory/TreeComparison.h"
#include "tests/memory/TreeShape.h"

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace storage::tests {

/// One operation about to be called on one tree, with everything prepared that is not the operation itself.
struct Attempt {
    std::function<void()> run;           ///< the call, for which memory may run out
    std::function<std::string()> result; ///< tells, after a call that succeeded, what came of it; once only

    /// What a user does after a failure to have the whole operation done, with the tree before it; where there is
    /// none, the call is repeated.
    std::function<void(const TreeSnapshot&)> finish = {};
};

/// One distinct form of an operation, to be tried on every tree that has what it needs.
struct Operation {
    using Needs = std::vector<TreeShape::Role TreeShape::*>;

    /// Whether the operation allocates; the test fails when this turns out wrong.
    enum class Allocates {
        Always,
        ForLongPaths, ///< otherwise it may or may not
        ForLongNames, ///< otherwise it may or may not
        Never,
    };

    std::string name;
    Needs needs;
    std::function<Attempt(foundation::storage::provider::IProvider&, const TreeShape&)> prepare;
    Allocates allocates = Allocates::ForLongPaths;
    Guarantee guarantee = unchanged;
    std::optional<foundation::storage::provider::ErrorCode> refusal = {}; ///< for one that is refused
    bool isForLargeTrees = true;

    bool canBeTriedOn(const TreeShape& shape) const;

    Operation&& allocating(Allocates when) &&;
    Operation&& leaving(Guarantee behind) &&;
    /// For an operation that does on a large tree just what another one does.
    Operation&& onSmallTreesOnly() &&;

    Operation&& refusedAs(foundation::storage::provider::ErrorCode code) &&;
};

/// The operation that is one call: of `call`, with a provider and the tree's shape.
template <class Call>
Operation operation(std::string name, Operation::Needs needs, Call call) {
    using foundation::storage::provider::IProvider;
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
