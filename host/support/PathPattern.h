#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// A pattern that selects entries of a tree, as in .gitignore and in the exclude files of rsync. A value.
///
/// | pattern         | matches                                                                         |
/// |-----------------|---------------------------------------------------------------------------------|
/// | *, ?            | any run of characters, any single character; never a slash                      |
/// | [a-z], [!a-z]   | one character that is in the set, or not in it; never a slash                   |
/// | **              | any run of characters; between slashes also nothing, so a/**/b matches a/b      |
/// | \c              | the character c                                                                 |
/// | trailing slash  | folders only                                                                    |
/// | any other slash | the pattern matches whole paths; without one, names at any depth                |
class PathPattern {
public:
    /// @throws UsageError for an empty pattern
    explicit PathPattern(std::string_view text);

    /// @param path  names joined by slashes
    bool matches(std::u16string_view path, bool isFolder) const;

    /// Whether the pattern is one for names, and matches this name.
    bool matchesName(std::u16string_view name, bool isFolder) const;

private:
    struct Range {
        char32_t first;
        char32_t last;
    };

    struct Element {
        enum class Kind {
            Literal,
            AnyCharacter, ///< except a slash
            Set,          ///< one character that is in one of the ranges or, if negated, in none
            AnyRun,       ///< any run of characters without a slash
            AnyPath,      ///< any run of characters
            AnyFolders,   ///< nothing, or a run that ends in a slash
        };

        Kind kind = Kind::Literal;
        char32_t character = 0;
        bool isNegated = false;
        std::vector<Range> ranges;

        bool matches(char32_t next) const;
    };

    using States = std::vector<bool>; ///< for each element, whether the match can continue there

    static std::u32string charactersOf(std::u16string_view text);
    void parse(const std::u32string& text);
    bool parseSet(const std::u32string& text, std::size_t& position);
    bool matchesCharacters(const std::u32string& text) const;
    void activate(std::size_t element, States& states) const;

    std::vector<Element> elements_;
    bool isForFolders_ = false;
    bool isForPaths_ = false;
};

} // namespace storage::host
