#include "host/support/Utf.h"

#include <gtest/gtest.h>

namespace {

using storage::host::printable;
using storage::host::printableInMessage;
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

TEST(UtfTest, PrintsWhatTurnsTheDirectionOfWritingAsNumbers) {
    EXPECT_EQ(printable(u"invoice\u202Efdp.exe"), "invoice\\u202Efdp.exe");
    const std::u16string all =
        u"\u061C\u200E\u200F\u2028\u2029\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069";
    const std::string numbers = "\\u061C\\u200E\\u200F\\u2028\\u2029\\u202A\\u202B\\u202C\\u202D\\u202E"
                                "\\u2066\\u2067\\u2068\\u2069";
    EXPECT_EQ(printable(all), numbers);
    EXPECT_EQ(printable(*toUtf8(all)), numbers);
    const std::u16string harmless = u"\u05D0\u200D\u2027\u202F\u2065\u206A";
    EXPECT_EQ(printable(harmless), toUtf8(harmless));
}

TEST(UtfTest, ShortensAMessageThatNobodyWouldRead) {
    const std::string path(4096, 'x');
    EXPECT_EQ(printableInMessage(path), path) << "the longest path of the disk";
    EXPECT_EQ(printableInMessage("a\n"), "a\\n");
    EXPECT_EQ(printableInMessage(std::string(1 << 20, 'x')),
              std::string(1000, 'x') + "...(1046576 bytes left out)..." + std::string(1000, 'x'));
    std::string characters = "x";
    for (int i = 0; i < 3000; ++i) {
        characters += "€";
    }
    const std::string shortened = printableInMessage(characters);
    EXPECT_EQ(shortened.substr(0, 1004), characters.substr(0, 1000) + "...(");
    EXPECT_TRUE(toUtf16(shortened)) << "no character is cut in two";
    EXPECT_EQ(printableInMessage(std::string(6000, '\x80')).substr(0, 4), "\\x80");
}

TEST(UtfTest, PrintsUtf16OnOneLine) {
    EXPECT_EQ(printable(u"plain ä€😀"), "plain ä€😀");
    EXPECT_EQ(printable(u"a\n\xD800z"), "a\\n\\uD800z");
    EXPECT_EQ(printable(u"\xDC00"), "\\uDC00");
}

} // namespace
