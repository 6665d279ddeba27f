#pragma once

#include "hostapi/Export.h"

#include <string_view>
#include <vector>

namespace foundation::storage::provider {

/// A pattern for whole names: "*" matches any run of characters, also an empty one, "?" exactly one character
/// (a surrogate pair is one character), every other code unit itself.
///
/// A value. Thread safety: any number of threads may match at once.
class QZFL_EXPORT WildcardPattern {
public:
    /// One element of a pattern.
    struct Element {
        /// What the element matches.
        enum class Kind {
            Literal,      ///< one code unit, itself
            AnyCharacter, ///< "?"
            AnyRun,       ///< "*"
        };

        Kind kind;     ///< what it matches
        char16_t unit; ///< the code unit of a Literal; unused otherwise
    };

    /// Every "*" and "?" of `text` is a wildcard.
    /// @param text  the pattern
    explicit WildcardPattern(std::u16string_view text);

    /// For callers that allow wildcards to be quoted.
    /// @param elements  of the pattern, in order
    explicit WildcardPattern(std::vector<Element> elements);

    /// Whether the pattern matches a name.
    /// @param name  the whole name
    /// @return true when the whole name matches
    bool matches(std::u16string_view name) const noexcept;

private:
    std::vector<Element> elements_;
};

} // namespace foundation::storage::provider
