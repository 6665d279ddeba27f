#include "hostapi/storage/provider/WildcardPattern.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace storage::tests {

using provider::WildcardPattern;

namespace {

using Kind = WildcardPattern::Element::Kind;

// In pieces, because a compiler may reject half a surrogate pair in a literal.
const std::u16string lead(1, char16_t{0xD83D});
const std::u16string trail(1, char16_t{0xDE00});
const std::u16string pair = lead + trail;

bool matches(std::u16string_view pattern, std::u16string_view name) {
    return WildcardPattern(pattern).matches(name);
}

TEST(WildcardPatternTest, MatchesTheWholeNameOnlyWithoutWildcards) {
    EXPECT_TRUE(matches(u"abc", u"abc"));
    EXPECT_FALSE(matches(u"abc", u"ab"));
    EXPECT_FALSE(matches(u"abc", u"abcd"));
    EXPECT_FALSE(matches(u"abc", u"xabc"));
    EXPECT_FALSE(matches(u"abc", u"ABC"));
}

TEST(WildcardPatternTest, MatchesOnlyTheEmptyNameIfEmpty) {
    EXPECT_TRUE(matches(u"", u""));
    EXPECT_FALSE(matches(u"", u"a"));
}

TEST(WildcardPatternTest, MatchesAnyRunWithAStar) {
    EXPECT_TRUE(matches(u"*", u""));
    EXPECT_TRUE(matches(u"*", u"anything at all.*?"));
    EXPECT_TRUE(matches(u"*.txt", u"a.txt"));
    EXPECT_TRUE(matches(u"*.txt", u".txt"));
    EXPECT_TRUE(matches(u"a*", u"a"));
    EXPECT_TRUE(matches(u"a*z", u"az"));
    EXPECT_TRUE(matches(u"a*z", u"azz"));
    EXPECT_FALSE(matches(u"a*z", u"a"));
    EXPECT_FALSE(matches(u"a*z", u"azy"));
    EXPECT_FALSE(matches(u"*.txt", u"a.txt.bak"));
}

TEST(WildcardPatternTest, TriesEveryEndOfAStar) {
    EXPECT_TRUE(matches(u"*ab", u"aab"));
    EXPECT_TRUE(matches(u"*abc*abd", u"ababcababd"));
    EXPECT_TRUE(matches(u"a*b*c", u"abbcbc"));
    EXPECT_FALSE(matches(u"a*b*c", u"acbb"));
}

TEST(WildcardPatternTest, TreatsSeveralStarsAsOne) {
    EXPECT_TRUE(matches(u"**", u""));
    EXPECT_TRUE(matches(u"a***b", u"ab"));
    EXPECT_TRUE(matches(u"***a***", u"xxaxx"));
}

TEST(WildcardPatternTest, MatchesExactlyOneCharacterWithAQuestionMark) {
    EXPECT_TRUE(matches(u"?", u"a"));
    EXPECT_TRUE(matches(u"a?c", u"abc"));
    EXPECT_TRUE(matches(u"??", u"ab"));
    EXPECT_FALSE(matches(u"?", u""));
    EXPECT_FALSE(matches(u"?", u"ab"));
    EXPECT_FALSE(matches(u"a?", u"a"));
    EXPECT_FALSE(matches(u"??", u"a"));
}

TEST(WildcardPatternTest, CombinesStarsAndQuestionMarks) {
    EXPECT_TRUE(matches(u"?*", u"a"));
    EXPECT_TRUE(matches(u"*?", u"abc"));
    EXPECT_TRUE(matches(u"*?.t?t", u"a.txt"));
    EXPECT_FALSE(matches(u"?*", u""));
    EXPECT_FALSE(matches(u"*??", u"a"));
    EXPECT_FALSE(matches(u"*?.t?t", u".txt"));
}

TEST(WildcardPatternTest, CountsASurrogatePairAsOneCharacter) {
    EXPECT_TRUE(matches(u"?", pair));
    EXPECT_FALSE(matches(u"??", pair));
    EXPECT_TRUE(matches(u"a?b", u"a" + pair + u"b"));
    EXPECT_FALSE(matches(u"*??", pair));
    EXPECT_TRUE(matches(u"*??", u"a" + pair));
    EXPECT_TRUE(matches(u"*" + pair, u"a" + pair));
    EXPECT_FALSE(matches(u"*" + trail, pair)) << "a run must not end inside a pair";
}

TEST(WildcardPatternTest, CountsAnUnpairedSurrogateAsOneCharacter) {
    EXPECT_TRUE(matches(u"?", lead));
    EXPECT_TRUE(matches(u"?", trail));
    EXPECT_TRUE(matches(u"??", trail + lead));
    EXPECT_TRUE(matches(u"?a", lead + u"a"));
    EXPECT_TRUE(matches(u"??", lead + u"\uE000"));
}

TEST(WildcardPatternTest, MatchesEveryOtherCharacterLiterally) {
    EXPECT_TRUE(matches(u"[a].\\+(b)^$", u"[a].\\+(b)^$"));
    EXPECT_FALSE(matches(u"[a]", u"a"));
    EXPECT_FALSE(matches(u"a.c", u"abc"));
    EXPECT_FALSE(matches(u"\\*", u"*"));
}

TEST(WildcardPatternTest, MatchesLiteralStarsAndQuestionMarksInElements) {
    const WildcardPattern pattern(std::vector<WildcardPattern::Element>{
        {Kind::Literal, u'*'}, {Kind::AnyCharacter, u'\0'}, {Kind::Literal, u'?'}, {Kind::AnyRun, u'\0'}});
    EXPECT_TRUE(pattern.matches(u"*a?"));
    EXPECT_TRUE(pattern.matches(u"*a?bcd"));
    EXPECT_FALSE(pattern.matches(u"xa?"));
    EXPECT_FALSE(pattern.matches(u"*ax"));
}

TEST(WildcardPatternTest, TerminatesWithManyStarsOnANameThatAlmostMatches) {
    std::u16string pattern;
    for (int i = 0; i < 100; ++i) {
        pattern += u"a*";
    }
    const std::u16string name(5000, u'a');
    EXPECT_FALSE(matches(pattern + u"b", name));
    EXPECT_TRUE(matches(pattern + u"b", name + u"b"));
}

} // namespace

} // namespace storage::tests
