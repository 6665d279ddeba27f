#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

namespace storage::inmemoryprovider::in_memory_entry_path_test {
namespace {

using Path = InMemoryEntryPath;

struct Derivation {
    std::u16string input;
    std::u16string expected;
};

class NormalisationTest : public testing::TestWithParam<Derivation> {};

TEST_P(NormalisationTest, NormalisesTheText) {
    const Path path(GetParam().input);
    EXPECT_EQ(path.string(), GetParam().expected);
    EXPECT_EQ(path.view(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    InMemoryEntryPath, NormalisationTest,
    testing::Values(Derivation{u"", u""}, Derivation{u"/", u"/"}, Derivation{u"a", u"a"},
                    Derivation{u"//", u"/"}, Derivation{u"///", u"/"}, Derivation{u"////", u"/"},
                    Derivation{u"/a", u"/a"}, Derivation{u"/a/", u"/a"}, Derivation{u"/a//", u"/a/"},
                    Derivation{u"/a///", u"/a//"}, Derivation{u"//a", u"/a"}, Derivation{u"///a", u"/a"},
                    Derivation{u"///a/", u"/a"}, Derivation{u"/a//b", u"/a//b"}, Derivation{u"a/b", u"/b"},
                    Derivation{u"a//b", u"/b"}, Derivation{u"ab/c", u"ab/c"}, Derivation{u"a/", u"a"},
                    Derivation{u"a//", u"/"}, Derivation{u"ab/", u"ab"}, Derivation{u"/.", u"/."},
                    Derivation{u"/../a/./b", u"/../a/./b"}, Derivation{u"/\U0001F600/", u"/\U0001F600"},
                    Derivation{u"\xD800/b", u"/b"}));

class ParentPathTest : public testing::TestWithParam<Derivation> {};

TEST_P(ParentPathTest, IsTheTextBeforeTheLastSeparator) {
    const Path path(GetParam().input);
    EXPECT_EQ(path.parentPath().string(), GetParam().expected);
    EXPECT_EQ(path.parentView(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InMemoryEntryPath, ParentPathTest,
                         testing::Values(Derivation{u"/", u""}, Derivation{u"", u""}, Derivation{u"a", u""},
                                         Derivation{u"/a", u"/"}, Derivation{u"/a/b", u"/a"},
                                         Derivation{u"/a/b/c", u"/a/b"}, Derivation{u"/a//", u"/a"},
                                         Derivation{u"/a//b", u"/a"}, Derivation{u"/a///b", u"/a/"},
                                         Derivation{u"ab/c", u"ab"}, Derivation{u"ab/c/d", u"ab/c"}));

struct HasParent {
    std::u16string input;
    bool expected;
};

class HasParentTest : public testing::TestWithParam<HasParent> {};

TEST_P(HasParentTest, IsTrueForASeparatorExceptInTheRoot) {
    EXPECT_EQ(Path(GetParam().input).hasParent(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InMemoryEntryPath, HasParentTest,
                         testing::Values(HasParent{u"", false}, HasParent{u"/", false},
                                         HasParent{u"a", false}, HasParent{u"/a", true},
                                         HasParent{u"a/b", true}, HasParent{u"ab/c", true}));

class FilenameTest : public testing::TestWithParam<Derivation> {};

TEST_P(FilenameTest, IsTheLastComponent) {
    const Path path(GetParam().input);
    EXPECT_EQ(path.filename(), GetParam().expected);
    EXPECT_EQ(path.filenameView(), GetParam().expected);
    EXPECT_EQ(InMemoryEntryPath(path).takeFilename(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InMemoryEntryPath, FilenameTest,
                         testing::Values(Derivation{u"/", u"/"}, Derivation{u"", u""}, Derivation{u"a", u"a"},
                                         Derivation{u"/a/b", u"b"}, Derivation{u"/a//", u""},
                                         Derivation{u"ab/c", u"c"},
                                         Derivation{u"/\U0001F600", u"\U0001F600"}));

struct Appending {
    std::u16string base;
    std::u16string name;
    std::u16string expected;
};

class AppendTest : public testing::TestWithParam<Appending> {};

TEST_P(AppendTest, JoinsWithOneSeparatorWithoutNormalising) {
    Path path(GetParam().base);
    EXPECT_EQ(path.appended(GetParam().name).string(), GetParam().expected);
    EXPECT_EQ(path, Path(GetParam().base));
    Path& result = path.append(GetParam().name);
    EXPECT_EQ(&result, &path);
    EXPECT_EQ(path.string(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InMemoryEntryPath, AppendTest,
                         testing::Values(Appending{u"/", u"b", u"//b"}, Appending{u"/a", u"b", u"/a/b"},
                                         Appending{u"/a", u"/b", u"/a//b"}, Appending{u"/a", u"b/", u"/a/b"},
                                         Appending{u"/a", u"b/c", u"/a//c"}, Appending{u"/a", u"", u"/a/"},
                                         Appending{u"", u"b", u"/b"}, Appending{u"/a//", u"b", u"/a//b"}));

TEST(InMemoryEntryPathTest, OrdersByUnsignedCodeUnits) {
    std::vector<Path> paths{Path(u"/a0"), Path(u"/\xFFFF"),     Path(u"/a/b"), Path(u"/b"), Path(u"/a"),
                            Path(u"/A"),  Path(u"/\U0001F600"), Path(u"/a-b"), Path(u"/"),  Path(u"")};
    std::sort(paths.begin(), paths.end());
    const std::vector<Path> expected{
        Path(u""),     Path(u"/"),   Path(u"/A"), Path(u"/a"),          Path(u"/a-b"),
        Path(u"/a/b"), Path(u"/a0"), Path(u"/b"), Path(u"/\U0001F600"), Path(u"/\xFFFF")};
    EXPECT_EQ(paths, expected);
}

TEST(InMemoryEntryPathTest, IsFoundInAMapByItsText) {
    const std::map<Path, int> map{{Path(u""), 0}, {Path(u"/"), 1}, {Path(u"/a"), 2}, {Path(u"/a/b"), 3}};
    for (const auto& [path, value] : map) {
        EXPECT_EQ(map.find(path.view())->second, value);
        EXPECT_EQ(path, path.view());
    }
    EXPECT_EQ(map.find(std::u16string_view())->second, 0);
    for (const auto* absent : {u"/a/", u"//a", u"a", u"/b", u"/a/bb"}) {
        EXPECT_EQ(map.find(std::u16string_view(absent)), map.end()) << "a text is not normalized";
    }
}

TEST(InMemoryEntryPathTest, ShowsItsNewTextInViewsAfterAppending) {
    Path path(u"/");
    path.append(u"b");
    EXPECT_EQ(path.parentView(), u"/");
    EXPECT_EQ(path.filenameView(), u"b");
    path.append(u"");
    EXPECT_EQ(path.string(), u"//b/");
    EXPECT_EQ(path.parentView(), u"/b");
    EXPECT_EQ(path.filenameView(), u"");
}

TEST(InMemoryEntryPathTest, IsNotLessThanItself) {
    EXPECT_FALSE(Path(u"/a") < Path(u"/a"));
}

TEST(InMemoryEntryPathTest, ComparesLongTextsLikeShortOnes) {
    const std::u16string beginning = u"/a folder with a long name";
    for (std::size_t length = 1; length <= beginning.size(); ++length) {
        const auto common = beginning.substr(0, length);
        const Path shorter(common + u"x");
        const Path greater(common + u"y and more");
        const Path longer(common + u"xx");
        EXPECT_TRUE(shorter < greater);
        EXPECT_FALSE(greater < shorter);
        EXPECT_TRUE(shorter < longer);
        EXPECT_FALSE(longer < shorter);
        EXPECT_TRUE(longer < greater);
        EXPECT_FALSE(shorter == greater);
        EXPECT_FALSE(shorter == longer);
        EXPECT_FALSE(Path(common + u"\xFF00") < Path(common + u"\x00FF"));
        EXPECT_TRUE(Path(common + u"xy") == Path(common + u"xy"));
    }
}

TEST(InMemoryEntryPathTest, OrdersCodeUnitsOfZeroLikeOthers) {
    const InMemoryEntryPath zeros(std::u16string(4, u'\0') + u"c");
    const InMemoryEntryPath letters(u"aaaab");
    EXPECT_LT(zeros, letters);
    EXPECT_FALSE(letters < zeros);
}

TEST(InMemoryEntryPathTest, EqualsAPathWithTheSameCodeUnits) {
    EXPECT_EQ(Path(u"/a/"), Path(u"//a"));
    EXPECT_FALSE(Path(u"/a") == Path(u"/A"));
    EXPECT_FALSE(Path(u"/a") == Path(u"/ab"));
    EXPECT_FALSE(Path(u"/\u00E9") == Path(u"/e\u0301"));
}

struct Within {
    std::u16string path;
    std::u16string folder;
    bool expected;
};

class WithinTest : public testing::TestWithParam<Within> {};

TEST_P(WithinTest, FollowsTheParentsAndNotTheText) {
    EXPECT_EQ(Path(GetParam().path).isWithin(Path(GetParam().folder)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InMemoryEntryPath, WithinTest,
                         testing::Values(Within{u"/a", u"/a", true}, Within{u"/a/b/c", u"/a", true},
                                         Within{u"/a/b", u"/", true}, Within{u"/ab", u"/a", false},
                                         Within{u"/a", u"/a/b", false}, Within{u"/b", u"/a", false},
                                         Within{u"/a//b", u"/a", true}, Within{u"/a//b", u"/a//", false},
                                         Within{u"/a///b", u"/a//", true}, Within{u"/a", u"", true},
                                         Within{u"", u"", true}));

} // namespace
} // namespace storage::inmemoryprovider::in_memory_entry_path_test
