#include "host/shell/CommandLineLexer.h"

#include "host/support/UsageError.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::string_view blanks = " \t";
/// The characters that a backslash escapes inside double quotes. Before others it is literal.
constexpr std::string_view escapableInDoubleQuotes = "$`\"\\";

void append(Word& word, std::string_view text, bool quoted) {
    word.text += text;
    word.quoted.resize(word.text.size(), quoted);
}

void appendQuoted(Word& word, std::string_view text) {
    append(word, text, true);
}

void appendPlain(Word& word, std::string_view text) {
    append(word, text, false);
}

/// Returns a hint for a shell operator; null for any other character.
const char* answerTo(char character) {
    switch (character) {
    case '|':
        return "pipes are not supported; use qzstorage -c 'cat /f' | COMMAND, or export /f";
    case '>':
        return "redirections are not supported; use qzstorage -c 'cat /f' > FILE, 'write /f TEXT', or "
               "'write /f -' for the standard input";
    case '<':
        return "redirections are not supported; use qzstorage -c 'write /f -' < FILE";
    case '&':
    case ';':
        return "a line is one command; put the next one on its own line or in another -c";
    default:
        return nullptr;
    }
}

} // namespace

std::vector<Word> CommandLineLexer::words() {
    std::vector<Word> result;
    for (skipBlanks(); position_ < line_.size() && line_[position_] != '#'; skipBlanks()) {
        result.push_back(readWord());
    }
    return result;
}

void CommandLineLexer::skipBlanks() {
    position_ = std::min(line_.find_first_not_of(blanks, position_), line_.size());
}

bool CommandLineLexer::atWordEnd() const {
    return position_ == line_.size() || blanks.find(line_[position_]) != std::string_view::npos;
}

Word CommandLineLexer::readWord() {
    Word word;
    while (!atWordEnd()) {
        switch (line_[position_]) {
        case '\'':
            readSingleQuoted(word);
            break;
        case '"':
            readDoubleQuoted(word);
            break;
        case '\\':
            readEscaped(word);
            break;
        default:
            readPlain(word);
        }
    }
    return word;
}

void CommandLineLexer::readSingleQuoted(Word& word) {
    const std::size_t begin = position_ + 1;
    const std::size_t end = line_.find('\'', begin);
    if (end == std::string_view::npos) {
        throw UsageError("a single quote is not closed");
    }
    appendQuoted(word, line_.substr(begin, end - begin));
    position_ = end + 1;
}

void CommandLineLexer::readDoubleQuoted(Word& word) {
    for (++position_; position_ < line_.size() && line_[position_] != '"'; ++position_) {
        const bool escape = line_[position_] == '\\' && position_ + 1 < line_.size() &&
                            escapableInDoubleQuotes.find(line_[position_ + 1]) != std::string_view::npos;
        if (escape) {
            ++position_;
        }
        appendQuoted(word, line_.substr(position_, 1));
    }
    if (position_ == line_.size()) {
        throw UsageError("a double quote is not closed");
    }
    ++position_;
}

void CommandLineLexer::readPlain(Word& word) {
    const char character = line_[position_];
    if (const char* const answer = answerTo(character)) {
        throw UsageError(fmt::format("'{}': {} (in a name or text, quote it)", character, answer));
    }
    appendPlain(word, line_.substr(position_++, 1));
}

void CommandLineLexer::readEscaped(Word& word) {
    if (position_ + 1 == line_.size()) {
        throw UsageError("trailing backslash");
    }
    appendQuoted(word, line_.substr(position_ + 1, 1));
    position_ += 2;
}

} // namespace storage::host
