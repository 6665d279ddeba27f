#pragma once

#include "host/validate/rules/Check.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// The selected checks of a catalogue. A value; it refers to the catalogue's checks.
struct CheckSelection {
    struct Group {
        const CheckGroup* group;
        std::vector<const Check*> checks; ///< at least one
    };

    std::vector<Group> groups;
    std::size_t leftOut = 0; ///< number of checks that match the patterns but are not in the profile

    /// @param patterns  of numbers or names, with "*" and "?"; none for all checks
    /// @throws UsageError when a pattern selects nothing
    static CheckSelection of(std::span<const CheckGroup> catalogue, Profile profile,
                             const std::vector<std::string>& patterns);

    std::size_t size() const;
};

} // namespace storage::host
