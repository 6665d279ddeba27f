#pragma once

#include "host/validate/rules/Check.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// Whether a pattern matches the whole number or the whole name of a rule; "*" and "?" are wildcards.
bool matches(const std::string& pattern, const Check& check);

/// The error message for a pattern that matches no rule.
std::string noSuchRule(const std::string& pattern);

/// The selected checks of a catalogue. A value; it refers to the catalogue.
struct CheckSelection {
    struct Group {
        const CheckGroup* group;
        std::vector<const Check*> checks; ///< at least one
    };

    std::vector<Group> groups;
    std::size_t leftOut = 0; ///< number of checks that match the patterns but are not in the profile

    /// @param patterns  patterns of numbers or names, with "*" and "?"; none for all checks
    /// @throws UsageError when a pattern selects nothing
    static CheckSelection of(std::span<const CheckGroup> catalogue, Profile profile,
                             const std::vector<std::string>& patterns);

    std::size_t size() const;
};

} // namespace storage::host
