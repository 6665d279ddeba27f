#include "host/support/Utf.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace storage::tests {

namespace {

using host::printable;
using host::printableInMessage;
using host::toUtf16;
using host::toUtf8;

TEST(UtfTest, ConvertsBothWays) {
    EXPECT_EQ(toUtf16("aä€😀"), u"aä€😀");
    EXPECT_EQ(toUtf8(u"aä€😀"), "aä€😀");
    EXPECT_EQ(toUtf16(""), u"");
    EXPECT_EQ(toUtf16(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(UtfTest, ConvertsIllFormedBytesToSingleUnits) {
    EXPECT_EQ(toUtf16("\xFF"), u"\xDCFF");
    EXPECT_EQ(toUtf16("a\xC3"), u"a\xDCC3");
    EXPECT_EQ(toUtf16("caf\xE9!"), u"caf\xDCE9!");
    EXPECT_EQ(toUtf16("\xC0\xAF"), u"\xDCC0\xDCAF") << "overlong";
    EXPECT_EQ(toUtf16("\xED\xA0\x80"), u"\xDCED\xDCA0\xDC80") << "a surrogate";
    EXPECT_EQ(toUtf16("\xED\xA0\xBD\xED\xB8\x80"), u"\xDCED\xDCA0\xDCBD\xDCED\xDCB8\xDC80") << "CESU-8";
    EXPECT_EQ(toUtf16("\xF4\x90\x80\x80"), u"\xDCF4\xDC90\xDC80\xDC80") << "beyond U+10FFFF";
    EXPECT_EQ(toUtf16("\xE2\x82\xE2\x82\xAC\x80"), u"\xDCE2\xDC82€\xDC80");
}

TEST(UtfTest, RejectsUnitsThatEncodeNoBytes) {
    EXPECT_FALSE(toUtf8(u"a\xD800"));
    EXPECT_FALSE(toUtf8(u"\xDC00"
                        u"a"));
    EXPECT_FALSE(toUtf8(u"\xD800\xD800"));
    EXPECT_FALSE(toUtf8(u"\xDC7F"));
    EXPECT_FALSE(toUtf8(u"\xDD00"));
    EXPECT_FALSE(toUtf8(u"\xDFFF"));
}

TEST(UtfTest, RejectsBytesThatFormACharacter) {
    EXPECT_FALSE(toUtf8(u"\xDCC3\xDCA4")) << "these bytes are ä";
    EXPECT_FALSE(toUtf8(u"x\xDCE2\xDC82\xDCAC"));
    EXPECT_FALSE(toUtf8(u"\xDCF0\xDC9F\xDC98\xDC80"));
    EXPECT_EQ(toUtf8(u"\xDCE2\xDC82"), "\xE2\x82");
}

TEST(UtfTest, RoundTripsEveryTextOfTwoBytes) {
    std::set<std::u16string> texts;
    for (int first = 0; first < 256; ++first) {
        const std::string one(1, static_cast<char>(first));
        EXPECT_EQ(toUtf8(toUtf16(one)), one);
        texts.insert(toUtf16(one));
        for (int second = 0; second < 256; ++second) {
            const std::string two = one + static_cast<char>(second);
            EXPECT_EQ(toUtf8(toUtf16(two)), two);
            texts.insert(toUtf16(two));
        }
    }
    EXPECT_EQ(texts.size(), 256U + 65536U) << "no two texts become the same";
}

TEST(UtfTest, RoundTripsOrRejectsEveryTextOfTwoUnits) {
    for (char32_t first = 0xD7FE; first <= 0xE001; ++first) {
        for (const char16_t second : {u'a', u'\u00e4', u'\xD7FF', u'\xD800', u'\xDBFF', u'\xDC00', u'\xDC7F',
                                      u'\xDC80', u'\xDCA4', u'\xDCFF', u'\xDD00', u'\xDFFF', u'\xE000'}) {
            const std::u16string text{static_cast<char16_t>(first), second};
            const auto bytes = toUtf8(text);
            EXPECT_TRUE(!bytes || toUtf16(*bytes) == text) << testing::PrintToString(text);
        }
    }
}

TEST(UtfTest, RoundTripsRandomBytes) {
    const auto seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    // Bytes that begin, continue and break characters, so that most texts are almost well-formed.
    const std::string bytes = "a\x7F\x80\x82\x9F\xA0\xAC\xBF\xC0\xC2\xC3\xE0\xE2\xED\xEF\xF0\xF4\xF5\xFF";
    for (int i = 0; i < 50'000; ++i) {
        std::string text;
        for (auto length = random() % 12; length > 0; --length) {
            text += bytes[random() % bytes.size()];
        }
        ASSERT_EQ(toUtf8(toUtf16(text)), text) << testing::PrintToString(text);
    }
}

TEST(UtfTest, EscapesBytes) {
    EXPECT_EQ(printable("plain ä€😀"), "plain ä€😀");
    EXPECT_EQ(printable("a\nb\tc\x1B[2J\x7F"), "a\\nb\\tc\\x1B[2J\\x7F");
    EXPECT_EQ(printable("a\xFF\xC3z"), "a\\xFF\\xC3z");
    EXPECT_EQ(printable("\xC2\x9B"), "\\u009B") << "a control character of the second block";
}

TEST(UtfTest, EscapesBidirectionalControls) {
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

TEST(UtfTest, ShortensLongMessages) {
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
    EXPECT_EQ(printable(shortened), shortened) << "no character is cut in two";
    EXPECT_EQ(printableInMessage(std::string(6000, '\x80')).substr(0, 4), "\\x80");
}

TEST(UtfTest, EscapesUtf16) {
    EXPECT_EQ(printable(u"plain ä€😀"), "plain ä€😀");
    EXPECT_EQ(printable(u"a\n\xD800z"), "a\\n\\uD800z");
    EXPECT_EQ(printable(u"\xDC00\xDC7F\xDD00"), "\\uDC00\\uDC7F\\uDD00");
    EXPECT_EQ(printable(u"\xDCFF\xDC80z"), "\\xFF\\x80z");
}

} // namespace

} // namespace storage::tests
