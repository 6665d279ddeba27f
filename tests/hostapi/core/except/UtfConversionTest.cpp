#include "hostapi/core/except/UtfConversion.h"

#include <gtest/gtest.h>

#include <string>

namespace storage::tests {

using foundation::core::except::toReadableUtf16;
using foundation::core::except::toReadableUtf8;
using namespace std::string_literals;

namespace {

TEST(UtfConversionTest, ConvertsWellFormedTextOfEveryLength) {
    const std::u16string utf16 = u"a/\u00e9\u20ac\U0001F600\U0010FFFF"s + u'\0' + u"z";
    const std::string utf8 = "a/\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf"s + '\0' + "z";
    EXPECT_EQ(toReadableUtf8(utf16), utf8);
    EXPECT_EQ(toReadableUtf16(utf8), utf16);
}

TEST(UtfConversionTest, ConvertsEmptyText) {
    EXPECT_EQ(toReadableUtf8(u""), "");
    EXPECT_EQ(toReadableUtf16(""), u"");
}

TEST(UtfConversionTest, ReplacesEachUnpairedSurrogate) {
    const std::string replacement = "\xef\xbf\xbd";
    EXPECT_EQ(toReadableUtf8(u"a\xd800"s + u"b"), "a" + replacement + "b");
    EXPECT_EQ(toReadableUtf8(u"a\xdc00"s + u"b"), "a" + replacement + "b");
    EXPECT_EQ(toReadableUtf8(u"a\xd800"s), "a" + replacement);
    EXPECT_EQ(toReadableUtf8(u"\xdc00\xd800"s), replacement + replacement);
    EXPECT_EQ(toReadableUtf8(u"\xd83d\xd83d\xde00"s), replacement + "\xf0\x9f\x98\x80");
    EXPECT_EQ(toReadableUtf8(u"\xd800\xffff"s), replacement + "\xef\xbf\xbf");
}

TEST(UtfConversionTest, ReplacesEachIllFormedUtf8Sequence) {
    EXPECT_EQ(toReadableUtf16("a\x80z"), u"a\ufffdz");             // continuation byte without a lead byte
    EXPECT_EQ(toReadableUtf16("a\xffz"), u"a\ufffdz");             // byte that never occurs
    EXPECT_EQ(toReadableUtf16("a\xc3z"), u"a\ufffdz");             // lead byte without its continuation byte
    EXPECT_EQ(toReadableUtf16("a\xe2\x82"), u"a\ufffd");           // truncated at the end
    EXPECT_EQ(toReadableUtf16("a\xc0\xafz"), u"a\ufffdz");         // overlong encoding
    EXPECT_EQ(toReadableUtf16("a\xed\xa0\x80z"), u"a\ufffdz");     // a surrogate
    EXPECT_EQ(toReadableUtf16("a\xf4\x90\x80\x80z"), u"a\ufffdz"); // beyond the last code point
}

TEST(UtfConversionTest, KeepsTheTextAroundIllFormedSequences) {
    EXPECT_EQ(toReadableUtf16("\xff\xc3\xa9\xff"), u"\ufffd\u00e9\ufffd");
}

} // namespace

} // namespace storage::tests
