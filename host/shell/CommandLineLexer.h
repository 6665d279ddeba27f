#pragma once

#include "host/shell/Word.h"

#include <string_view>
#include <vector>

namespace storage::host {

/// Splits one command line into words as a POSIX shell does: blanks separate words, 'single' and "double"
/// quotes and the backslash take special meanings away, "#" at the start of a word begins a comment. No other
/// character is special.
///
/// Thread safety: one object is for one thread.
class CommandLineLexer {
public:
    /// @param line  one line without its newline; must live as long as the lexer is used
    explicit CommandLineLexer(std::string_view line) : line_(line) {}

    /// @throws UsageError when a quote is not closed or a backslash stands at the end
    std::vector<Word> words();

private:
    void skipBlanks();
    bool atWordEnd() const;
    Word readWord();
    void readSingleQuoted(Word& word);
    void readDoubleQuoted(Word& word);
    void readEscaped(Word& word);

    std::string_view line_;
    std::size_t position_ = 0;
};

} // namespace storage::host
