#include "host/support/PathPattern.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::PathPattern;
using host::toUtf16;
using host::UsageError;

bool patternMatches(const std::string& pattern, const std::string& path, bool isFolder = false) {
    return PathPattern(pattern).matches(toUtf16(path), isFolder);
}

TEST(PathPatternTest, MatchesNamesAtAnyDepthWithoutASlash) {
    EXPECT_TRUE(patternMatches("*.o", "a.o"));
    EXPECT_TRUE(patternMatches("*.o", "src/deep/a.o"));
    EXPECT_FALSE(patternMatches("*.o", "a.o/b"));
    EXPECT_TRUE(patternMatches("a?c", "x/abc"));
    EXPECT_FALSE(patternMatches("a?c", "x/ac"));
    EXPECT_FALSE(patternMatches("b", "ab"));
    EXPECT_FALSE(patternMatches("a", "ab"));
}

TEST(PathPatternTest, MatchesTheWholePathWithASlash) {
    EXPECT_TRUE(patternMatches("src/*.c", "src/a.c"));
    EXPECT_FALSE(patternMatches("src/*.c", "src/deep/a.c"));
    EXPECT_FALSE(patternMatches("src/*.c", "x/src/a.c"));
    EXPECT_TRUE(patternMatches("/build", "build"));
    EXPECT_FALSE(patternMatches("/build", "x/build"));
}

TEST(PathPatternTest, MatchesFoldersOnlyWithATrailingSlash) {
    EXPECT_TRUE(patternMatches("build/", "x/build", true));
    EXPECT_FALSE(patternMatches("build/", "x/build", false));
    EXPECT_TRUE(patternMatches("/build/", "build", true));
    EXPECT_FALSE(patternMatches("/build/", "x/build", true));
}

TEST(PathPatternTest, MatchesSlashesWithTwoStars) {
    EXPECT_TRUE(patternMatches("src/**", "src/a/b"));
    EXPECT_FALSE(patternMatches("src/**", "src"));
    EXPECT_TRUE(patternMatches("**/test/*", "test/a"));
    EXPECT_TRUE(patternMatches("**/test/*", "x/y/test/a"));
    EXPECT_FALSE(patternMatches("**/test/*", "contest/a"));
    EXPECT_TRUE(patternMatches("a/**/b", "a/b"));
    EXPECT_TRUE(patternMatches("a/**/b", "a/x/y/b"));
    EXPECT_FALSE(patternMatches("a/**/b", "a/xb"));
}

TEST(PathPatternTest, MatchesOneCharacterOfASet) {
    EXPECT_TRUE(patternMatches("[a-cx]", "b"));
    EXPECT_TRUE(patternMatches("[a-cx]", "x"));
    EXPECT_FALSE(patternMatches("[a-cx]", "d"));
    EXPECT_TRUE(patternMatches("[!a-c]", "d"));
    EXPECT_FALSE(patternMatches("[^a-c]", "a"));
    EXPECT_TRUE(patternMatches("[]]", "]"));
    EXPECT_TRUE(patternMatches("[a-]", "-"));
    EXPECT_TRUE(patternMatches("[", "["));
    EXPECT_TRUE(patternMatches("[ab", "[ab"));
    EXPECT_FALSE(patternMatches("x/a[!b]c", "x/a/c"));
}

TEST(PathPatternTest, EscapesWithABackslash) {
    EXPECT_TRUE(patternMatches("\\*", "*"));
    EXPECT_FALSE(patternMatches("\\*", "a"));
    EXPECT_TRUE(patternMatches("[\\]]", "]"));
    EXPECT_TRUE(patternMatches("a\\", "a\\"));
}

TEST(PathPatternTest, MatchesWholeCharactersAndSingleBadBytes) {
    EXPECT_TRUE(patternMatches("?", "\xC3\xA4"));
    EXPECT_TRUE(patternMatches("?", "\xF0\x9F\x98\x80"));
    EXPECT_TRUE(patternMatches("[\xF0\x9F\x98\x80-\xF0\x9F\x98\x82]", "\xF0\x9F\x98\x81"));
    EXPECT_TRUE(patternMatches("a?", "a\xFF"));
    EXPECT_FALSE(patternMatches("a?", "a\xFF\xFE"));
}

TEST(PathPatternTest, MatchesManyStarsInPolynomialTime) {
    std::string pattern;
    for (int i = 0; i < 200; ++i) {
        pattern += "*a";
    }
    EXPECT_FALSE(patternMatches(pattern, std::string(1000, 'a') + 'b'));
    EXPECT_TRUE(patternMatches(pattern, std::string(1000, 'a')));
}

TEST(PathPatternTest, RejectsPatternsThatMatchNoEntry) {
    EXPECT_THROW(PathPattern(""), UsageError);
    EXPECT_THROW(PathPattern("/"), UsageError);
}

} // namespace

} // namespace storage::tests
