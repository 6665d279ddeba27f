#include "host/mount/EntryName.h"
#include "tests/host/mount/ErrnoOf.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::longestEntryName;
using host::programNameOf;
using host::storageNameOf;

std::string repeated(std::size_t count, const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

int refusalOf(const std::string& name) {
    return errnoOf([&] { storageNameOf(name); });
}

TEST(EntryNameTest, RoundTripsAllOfUnicode) {
    for (const char* const name :
         {"a", " ", "...", "..a", "\\", "a:b*?\"<>|", "\x01\x7F\n", "ä", "€", "\xEF\xBF\xBE", "\xEF\xBF\xBF",
          "\xEE\x80\x80", "\xED\x9F\xBF", "😀", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "e\xCC\x81"}) {
        EXPECT_EQ(programNameOf(storageNameOf(name)), name);
    }
}

TEST(EntryNameTest, IsUtf16InTheStorage) {
    EXPECT_EQ(storageNameOf("aä€"), u"aä€");
    EXPECT_EQ(storageNameOf("😀"), u"\xD83D\xDE00");
    EXPECT_EQ(storageNameOf("\xEF\xBF\xBE\xEF\xBF\xBF"), u"\xFFFE\xFFFF");
    EXPECT_EQ(storageNameOf("\xF4\x8F\xBF\xBF"), u"\xDBFF\xDFFF");
}

TEST(EntryNameTest, RoundTripsNamesThatAreNotUtf8) {
    for (const char* const name : {"\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xED\xB0\x80",
                                   "\xF4\x90\x80\x80", "caf\xE9", "\x80", ".\x80", "\xC0\xAE\xC0\xAE"}) {
        EXPECT_EQ(programNameOf(storageNameOf(name)), name);
    }
    EXPECT_EQ(storageNameOf("caf\xE9"), u"caf\xDCE9");
    const std::string longest = repeated(255, "\xFF");
    EXPECT_EQ(programNameOf(storageNameOf(longest)), longest);
    EXPECT_FALSE(programNameOf(std::u16string(256, u'\xDCFF')));
}

TEST(EntryNameTest, IsLimitedInBytes) {
    EXPECT_EQ(storageNameOf(repeated(255, "x")), std::u16string(255, u'x'));
    EXPECT_EQ(refusalOf(repeated(256, "x")), ENAMETOOLONG);
    EXPECT_EQ(storageNameOf(repeated(85, "€")), std::u16string(85, u'€')); // 255 bytes
    EXPECT_EQ(refusalOf(repeated(85, "€") + "x"), ENAMETOOLONG);
    EXPECT_EQ(storageNameOf(repeated(63, "😀") + "xyz").size(), 2U * 63 + 3);
    EXPECT_EQ(refusalOf(repeated(64, "😀")), ENAMETOOLONG);
    EXPECT_EQ(refusalOf(repeated(300, "\xFF")), ENAMETOOLONG);
    EXPECT_EQ(longestEntryName, 255U);
}

TEST(EntryNameTest, OmitsNamesThatProgramsCannotUse) {
    using namespace std::string_view_literals;
    for (const std::u16string_view name : {u""sv, u"."sv, u".."sv, u"a/b"sv, u"/"sv, u"a\0b"sv, u"\0"sv,
                                           u"\xD800"sv, u"a\xDC00"sv, u"\xDE00\xD83D"sv, u"\xDCC3\xDCA4"sv}) {
        EXPECT_FALSE(programNameOf(name)) << testing::PrintToString(name);
    }
}

TEST(EntryNameTest, OmitsNamesThatAreTooLong) {
    EXPECT_EQ(programNameOf(std::u16string(255, u'x')), std::string(255, 'x'));
    EXPECT_FALSE(programNameOf(std::u16string(256, u'x')));
    EXPECT_EQ(programNameOf(std::u16string(85, u'€')), repeated(85, "€"));
    EXPECT_FALSE(programNameOf(std::u16string(86, u'€')));
}

} // namespace

} // namespace storage::tests
