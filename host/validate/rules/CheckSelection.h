#pragma once

#include "host/validate/rules/Check.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// The checks of a catalogue that a provider is to be put to. A value; it refers to the catalogue's checks.
struct CheckSelection {
    struct Group {
        const CheckGroup* group;
        std::vector<const Check*> checks; ///< at least one
    };

    std::vector<Group> groups;
    std::size_t leftOut = 0; ///< of the checks asked for, how many the profile does not have

    /// @param patterns  each with "*" and "?" for a number or a name; none for all checks
    /// @throws UsageError when a pattern selects nothing
    static CheckSelection of(std::span<const CheckGroup> catalogue, Profile profile,
                             const std::vector<std::string>& patterns);

    std::size_t size() const;
};

} // namespace storage::host
