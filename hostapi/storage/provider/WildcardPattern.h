#pragma once

#include "hostapi/Export.h"

#include <string_view>
#include <vector>

namespace foundation::storage::provider {

/// A pattern that a whole name either matches or does not: "*" stands for any run of characters, also an
/// empty one, "?" for exactly one character (a surrogate pair is one character), everything else for itself.
///
/// Thread safety: a value; matching from several threads is safe.
class QZFL_EXPORT WildcardPattern {
public:
    /// One step of a pattern.
    struct Element {
        /// What it stands for.
        enum class Kind {
            Literal,      ///< one code unit, itself
            AnyCharacter, ///< "?"
            AnyRun,       ///< "*"
        };

        Kind kind;     ///< what it stands for
        char16_t unit; ///< the code unit of a Literal; unused otherwise
    };

    /// Every "*" and "?" of `text` is a wildcard.
    /// @param text  the pattern
    explicit WildcardPattern(std::u16string_view text);

    /// For callers in whose language wildcards can be quoted.
    /// @param elements  the pattern, step by step
    explicit WildcardPattern(std::vector<Element> elements);

    /// Whether the pattern stands for a name.
    /// @param name  the whole name
    /// @return true when all of it matches
    bool matches(std::u16string_view name) const noexcept;

private:
    std::vector<Element> elements_;
};

} // namespace foundation::storage::provider
