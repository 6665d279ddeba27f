#pragma once

#include "host/validate/rules/Check.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace storage::host {

/// The selected rules of a catalogue. A value; it refers to the catalogue.
struct CheckSelection {
    struct Rule {
        const CheckGroup* group;
        const Check* check;
        std::optional<std::string> exception{}; ///< why it is not checked
    };
    /// Each is compared with the whole number and the whole name of a rule; "*" and "?" are wildcards.
    using Patterns = std::vector<std::string>;

    std::vector<Rule> rules; ///< in the order of the catalogue
    std::size_t leftOut = 0; ///< number of rules that match the patterns but are not in the profile

    /// @param only        of selected rules; none for all
    /// @param excepted    of selected rules that are not checked
    /// @param exceptFrom  file; each line contains another such pattern and a reason; empty lines and lines
    ///                    that begin with "#" are ignored
    /// @throws UsageError when a pattern matches nothing, or no rule would be checked
    /// @throws CommandError when the file cannot be read or a line is invalid
    static CheckSelection of(std::span<const CheckGroup> catalogue, Profile profile, const Patterns& only,
                             const Patterns& excepted = {},
                             const std::optional<std::string>& exceptFrom = {});
};

} // namespace storage::host
