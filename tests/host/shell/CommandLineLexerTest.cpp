#include "host/shell/CommandLineLexer.h"
#include "host/support/UsageError.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::CommandLineLexer;
using host::UsageError;
using host::Word;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> texts(std::string_view line) {
    std::vector<std::string> result;
    for (const Word& word : CommandLineLexer(line).words()) {
        EXPECT_EQ(word.text.size(), word.quoted.size());
        result.push_back(word.text);
    }
    return result;
}

/// Returns the unquoted wildcards of the only word as text, for example "*.?".
std::string wildcards(std::string_view line) {
    const Word word = CommandLineLexer(line).words().at(0);
    std::string result;
    for (std::size_t i = 0; i < word.text.size(); ++i) {
        if (word.isWildcard(i)) {
            result += word.text[i];
        }
    }
    return result;
}

TEST(CommandLineLexerTest, SplitsWordsAtBlanks) {
    EXPECT_THAT(texts("ls -l  /a\t/b "), ElementsAre("ls", "-l", "/a", "/b"));
}

TEST(CommandLineLexerTest, FindsNoWordsInAnEmptyOrBlankLine) {
    EXPECT_THAT(texts(""), IsEmpty());
    EXPECT_THAT(texts(" \t "), IsEmpty());
}

TEST(CommandLineLexerTest, KeepsEverythingInSingleQuotes) {
    EXPECT_THAT(texts(R"('a b' '\' '"' '#')"), ElementsAre("a b", "\\", "\"", "#"));
}

TEST(CommandLineLexerTest, KeepsAllButEscapedQuotesAndBackslashesInDoubleQuotes) {
    EXPECT_THAT(texts(R"("a b" "it's" "x\"y" "a\\b" "a\nb" "\$\`")"),
                ElementsAre("a b", "it's", "x\"y", "a\\b", "a\\nb", "$`"));
}

TEST(CommandLineLexerTest, KeepsTheCharacterAfterABackslash) {
    EXPECT_THAT(texts(R"(a\ b \' \\ \# \*)"), ElementsAre("a b", "'", "\\", "#", "*"));
}

TEST(CommandLineLexerTest, JoinsQuotedAndUnquotedParts) {
    EXPECT_THAT(texts(R"(a'b c'"d e"\ f)"), ElementsAre("ab cd e f"));
}

TEST(CommandLineLexerTest, ReadsEmptyQuotesAsAnEmptyWord) {
    EXPECT_THAT(texts(R"(x '' "")"), ElementsAre("x", "", ""));
}

TEST(CommandLineLexerTest, StartsACommentOnlyAtTheStartOfAWord) {
    EXPECT_THAT(texts("ls a#b # c d 'e"), ElementsAre("ls", "a#b"));
    EXPECT_THAT(texts("# nothing"), IsEmpty());
}

TEST(CommandLineLexerTest, TreatsOnlyUnquotedWildcardsAsWildcards) {
    EXPECT_EQ(wildcards("a*b?"), "*?");
    EXPECT_EQ(wildcards(R"('*'"?"\*)"), "");
    EXPECT_EQ(wildcards("'*'?"), "?");
}

TEST(CommandLineLexerTest, RejectsUnterminatedQuotes) {
    EXPECT_THROW(texts("ls 'a b"), UsageError);
    EXPECT_THROW(texts("ls \"a b"), UsageError);
    EXPECT_THROW(texts("ls \"a b\\\""), UsageError);
    EXPECT_THROW(texts("ls a\\"), UsageError);
}

TEST(CommandLineLexerTest, RejectsShellOperatorsWithAnAlternative) {
    const auto answer = [](std::string_view line) { return [line] { texts(line); }; };
    using testing::HasSubstr;
    using testing::ThrowsMessage;
    EXPECT_THAT(answer("cat /f | wc"),
                ThrowsMessage<UsageError>(HasSubstr("qzstorage -c 'cat /f' | COMMAND")));
    EXPECT_THAT(answer("cat /f|wc"), ThrowsMessage<UsageError>(HasSubstr("'|': pipes are not supported")));
    EXPECT_THAT(answer("cat /f >g"), ThrowsMessage<UsageError>(HasSubstr("qzstorage -c 'cat /f' > FILE")));
    EXPECT_THAT(answer("cat > /f"), ThrowsMessage<UsageError>(HasSubstr("'write /f -'")));
    EXPECT_THAT(answer("write /f < g"),
                ThrowsMessage<UsageError>(HasSubstr("qzstorage -c 'write /f -' < FILE")));
    EXPECT_THAT(answer("ls; pwd"), ThrowsMessage<UsageError>(HasSubstr("';': a line is one command")));
    EXPECT_THAT(answer("ls &"), ThrowsMessage<UsageError>(HasSubstr("'&': a line is one command")));
    EXPECT_THAT(texts(R"('a|b' "c>d" e\<f \& # | > < & ;)"), ElementsAre("a|b", "c>d", "e<f", "&"));
}

TEST(CommandLineLexerTest, AcceptsALineOfOneMebibyte) {
    const std::string longWord(1 << 20, 'x');
    EXPECT_THAT(texts("write f " + longWord), ElementsAre("write", "f", longWord));
}

} // namespace

} // namespace storage::tests
