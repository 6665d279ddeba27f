#pragma once

#include <cstddef>
#include <string>

#include <string_view>
#include <vector>

namespace storage::host {

/// One word of a command line with its quotes removed. A value.
///
/// `quoted` has one flag for each byte of `text`: whether quotes or a backslash took its special meaning
/// away.
struct Word {
    std::string text;
    std::vector<bool> quoted = std::vector<bool>(text.size());

    bool isWildcard(std::size_t i) const { return (text[i] == '*' || text[i] == '?') && !quoted[i]; }
};

/// Splits one command line into words as a POSIX shell does: blanks separate words, 'single' and "double"
/// quotes and the backslash take special meanings away, "#" at the start of a word begins a comment. The operators
/// of a shell, | < > & ;, are refused with what to do instead. No other character is special.
///
/// Thread safety: one object is for one thread.
class CommandLineLexer {
public:
    /// @param line  one line without its newline; must live as long as the lexer is used
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
