#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>

namespace storage::host {

class CheckContext;

/// Selects the rules that apply to a provider.
enum class Profile {
    AnyProvider,      ///< rules for every provider, with any kind of storage
    InMemoryProvider, ///< also rules that only the in-memory provider must keep
};

/// The names on the command line, in the order of the enumerators.
inline constexpr std::array profileNames{"any", "in-memory"};

constexpr const char* profileName(Profile profile) {
    return profileNames[static_cast<std::size_t>(profile)];
}

/// The provider breaks the rule. The text contains the expected and the actual result.
class RuleBroken : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The check does not apply to this provider or machine. The text contains the reason.
class CheckSkipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One rule of the contract between hosts and providers, and its check. A value.
struct Check {
    const char* number; ///< "GROUP.RULE", for example "4.2"; permanent
    const char* name;   ///< for example "paths.case-is-kept"
    const char* rule;   ///< one line, for example "Names that differ only in case are two names."
    Profile profile;    ///< the providers to which the rule applies
    /// Returns if the provider keeps the rule. Runs in its own process; it may change the process state or
    /// crash.
    /// @throws RuleBroken, CheckSkipped
    void (*run)(CheckContext& context);
};

/// The rules of one subject. A value; the checks are in a table with static storage duration.
struct CheckGroup {
    int number;        ///< first part of the numbers of its checks
    const char* title; ///< for example "Paths"
    std::span<const Check> checks;
    const char* about = ""; ///< Markdown introduction of the group in docs/contract.md
};

} // namespace storage::host
