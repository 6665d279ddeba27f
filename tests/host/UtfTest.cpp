#include "host/Utf.h"

#include <gtest/gtest.h>

namespace {

using storage::host::printable;
using storage::host::toUtf16;
using storage::host::toUtf8;

TEST(UtfTest, ConvertsBothWays) {
    EXPECT_EQ(toUtf16("aä€😀"), u"aä€😀");
    EXPECT_EQ(toUtf8(u"aä€😀"), "aä€😀");
    EXPECT_EQ(toUtf16(""), u"");
    EXPECT_EQ(toUtf16(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(UtfTest, RefusesIllFormedUtf8) {
    EXPECT_FALSE(toUtf16("\xFF"));
    EXPECT_FALSE(toUtf16("a\xC3"));
    EXPECT_FALSE(toUtf16("\xC0\xAF")) << "overlong";
    EXPECT_FALSE(toUtf16("\xED\xA0\x80")) << "a surrogate";
    EXPECT_FALSE(toUtf16("\xF4\x90\x80\x80")) << "beyond U+10FFFF";
}

TEST(UtfTest, RefusesUnpairedSurrogates) {
    EXPECT_FALSE(toUtf8(u"a\xD800"));
    EXPECT_FALSE(toUtf8(u"\xDC00"
                        u"a"));
    EXPECT_FALSE(toUtf8(u"\xD800\xD800"));
}

TEST(UtfTest, PrintsBytesOnOneLine) {
    EXPECT_EQ(printable("plain ä€😀"), "plain ä€😀");
    EXPECT_EQ(printable("a\nb\tc\x1B[2J\x7F"), "a\\nb\\tc\\x1B[2J\\x7F");
    EXPECT_EQ(printable("a\xFF\xC3z"), "a\\xFF\\xC3z");
    EXPECT_EQ(printable("\xC2\x9B"), "\\u009B") << "a control character of the second block";
}

TEST(UtfTest, PrintsUtf16OnOneLine) {
    EXPECT_EQ(printable(u"plain ä€😀"), "plain ä€😀");
    EXPECT_EQ(printable(u"a\n\xD800z"), "a\\n\\uD800z");
    EXPECT_EQ(printable(u"\xDC00"), "\\uDC00");
}

} // namespace
