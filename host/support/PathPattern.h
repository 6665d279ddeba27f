#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// A pattern for the entries of a tree, as in exclude files of rsync and in .gitignore. A value.
///
/// | pattern       | matches                                                             |
/// |---------------|---------------------------------------------------------------------|
/// | *, ?          | any run of characters, one character, but no slash                  |
/// | [a-z], [!a-z] | one character of a set, or one that is not in it, but no slash      |
/// | **            | any run of characters; between slashes also no folder at all        |
/// | \c            | the character c                                                     |
/// | a slash at the end | folders only                                                   |
/// | another slash | the whole path; without one, the name of an entry at any depth      |
class PathPattern {
public:
    /// @throws UsageError for an empty pattern
    explicit PathPattern(std::string_view text);

    /// @param path  names joined by slashes
    bool matches(std::u16string_view path, bool isFolder) const;

    /// Whether the pattern is for the name of an entry at any depth and matches this one.
    bool matchesName(std::u16string_view name, bool isFolder) const;

private:
    struct Range {
        char32_t first;
        char32_t last;
    };

    struct Element {
        enum class Kind {
            Literal,
            AnyCharacter, ///< but a slash
            Set,          ///< one character that is in a range, or in none of them
            AnyRun,       ///< without a slash
            AnyPath,      ///< with slashes
            AnyFolders,   ///< nothing, or a run that ends in a slash
        };

        Kind kind = Kind::Literal;
        char32_t character = 0;
        bool isNegated = false;
        std::vector<Range> ranges;

        bool takes(char32_t next) const;
    };

    using States = std::vector<bool>; ///< of each element: whether it may come next

    static std::u32string charactersOf(std::u16string_view text);
    void parse(const std::u32string& text);
    bool parseSet(const std::u32string& text, std::size_t& position);
    bool matchesCharacters(const std::u32string& text) const;
    void arriveAt(std::size_t element, States& states) const;

    std::vector<Element> elements_;
    bool isForFolders_ = false;
    bool isForPaths_ = false;
};

} // namespace storage::host
