#pragma once

#include <cstddef>
#include <string>

#include <string_view>
#include <vector>

namespace storage::host {

/// One word of a command line with its quotes removed. A value.
///
/// `quoted` has one flag for each byte of `text`: whether quotes or a backslash removed its special meaning.
struct Word {
    std::string text;
    std::vector<bool> quoted = std::vector<bool>(text.size());

    bool isWildcard(std::size_t i) const { return (text[i] == '*' || text[i] == '?') && !quoted[i]; }
};

/// Splits one command line into words as a POSIX shell does. Blanks separate words. 'single' and "double"
/// quotes and the backslash remove special meanings. "#" at the start of a word begins a comment. The shell
/// operators | < > & ; are errors with a hint. No other character is special.
///
/// Not thread-safe.
class CommandLineLexer {
public:
    /// @param line  one line without its newline; must outlive the lexer
    explicit CommandLineLexer(std::string_view line) : line_(line) {}

    /// @throws UsageError for an unclosed quote, a trailing backslash or an unquoted operator
    std::vector<Word> words();

private:
    void skipBlanks();
    bool atWordEnd() const;
    Word readWord();
    void readSingleQuoted(Word& word);
    void readDoubleQuoted(Word& word);
    void readEscaped(Word& word);
    void readPlain(Word& word);

    std::string_view line_;
    std::size_t position_ = 0;
};

} // namespace storage::host
