#include "host/support/RegularExpression.h"
#include "host/support/UsageError.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::RegularExpression;
using host::UsageError;
using Case = RegularExpression::Case;

bool matches(const std::string& pattern, std::string_view line, Case letters = Case::Distinguished) {
    return RegularExpression(pattern, letters).matchesIn(line);
}

TEST(RegularExpressionTest, MatchesExtendedPatterns) {
    EXPECT_TRUE(matches("^(a|b)+c{2}$", "abbacc"));
    EXPECT_FALSE(matches("^(a|b)+c{2}$", "abbac"));
    EXPECT_TRUE(matches("b", "abc")) << "anywhere";
    EXPECT_TRUE(matches("", ""));
}

TEST(RegularExpressionTest, MatchesUtf8Characters) {
    EXPECT_TRUE(matches("^.$", "ä"));
    EXPECT_TRUE(matches("^.$", "\xF0\x9F\x98\x80"));
    EXPECT_TRUE(matches("ÄPFEL", "äpfel", Case::Ignored));
    EXPECT_FALSE(matches("ÄPFEL", "äpfel"));
}

TEST(RegularExpressionTest, MatchesNulAndIllFormedBytes) {
    EXPECT_TRUE(matches("b$", std::string_view("a\0b", 3)));
    EXPECT_FALSE(matches("a$", std::string_view("a\0b", 3)));
    EXPECT_TRUE(matches("b", "\xFF\xC0 b"));
}

TEST(RegularExpressionTest, MatchesALongLine) {
    EXPECT_TRUE(matches("(x|y)*z", std::string(1 << 20, 'x') + 'z'));
}

TEST(RegularExpressionTest, RejectsInvalidPatterns) {
    EXPECT_THAT([] { matches("a(b", ""); },
                testing::ThrowsMessage<UsageError>("invalid regular expression 'a(b': Unmatched ( or \\("));
    EXPECT_THROW(matches(std::string("a\0b", 3), ""), UsageError);
}

} // namespace

} // namespace storage::tests
