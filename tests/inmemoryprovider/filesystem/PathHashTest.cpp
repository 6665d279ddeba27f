#include "inmemoryprovider/filesystem/PathHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace storage::inmemoryprovider::path_hash_test {
namespace {

constexpr std::size_t longest = 40;

std::u16string textOf(std::size_t length) {
    std::u16string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += static_cast<char16_t>(u'/' + i * i);
    }
    return text;
}

/// Numbered names of one folder, as programs generate them.
std::vector<std::u16string> numberedNames(std::size_t count) {
    std::vector<std::u16string> names;
    for (std::size_t number = 0; number < count; ++number) {
        std::u16string name = u"/some folder/file ";
        for (const char digit : std::to_string(number)) {
            name += static_cast<char16_t>(digit);
        }
        names.push_back(name);
    }
    return names;
}

TEST(PathHashTest, DoesNotDependOnAddressOrSurroundingMemory) {
    constexpr std::size_t unitsPerWord = 4;
    for (std::size_t length = 0; length <= longest; ++length) {
        const auto text = textOf(length);
        const auto expected = hashOf(text);
        for (std::size_t offset = 0; offset < 2 * unitsPerWord; ++offset) {
            for (const char16_t around : {u'\0', u'x', u'\xFFFF'}) {
                std::u16string surrounded(offset, around);
                surrounded += text;
                surrounded.append(unitsPerWord, around);
                EXPECT_EQ(hashOf(std::u16string_view(surrounded).substr(offset, length)), expected)
                    << length << " code units at " << offset;
            }
        }
    }
}

TEST(PathHashTest, AcceptsANullText) {
    EXPECT_EQ(hashOf(std::u16string_view()), hashOf(u""));
}

TEST(PathHashTest, DependsOnEveryBitOfEveryCodeUnit) {
    for (std::size_t length = 1; length <= longest; ++length) {
        std::set<std::uint64_t> hashes{hashOf(textOf(length))};
        for (std::size_t position = 0; position < length; ++position) {
            for (unsigned bit = 0; bit < 16; ++bit) {
                auto changed = textOf(length);
                changed[position] = static_cast<char16_t>(changed[position] ^ (1U << bit));
                hashes.insert(hashOf(changed));
            }
        }
        EXPECT_EQ(hashes.size(), 1 + 16 * length) << length << " code units";
    }
}

TEST(PathHashTest, DependsOnTheLength) {
    std::set<std::uint64_t> hashes;
    for (std::size_t length = 0; length <= longest; ++length) {
        hashes.insert(hashOf(std::u16string(length, u'\0')));
    }
    EXPECT_EQ(hashes.size(), longest + 1);
}

TEST(PathHashTest, DiffersForALargeSampleOfNames) {
    std::unordered_set<std::uint64_t> hashes;
    const auto names = numberedNames(300'000);
    for (const auto& name : names) {
        hashes.insert(hashOf(name));
    }
    EXPECT_EQ(hashes.size(), names.size());
}

TEST(PathHashTest, SpreadsNamesEvenlyOverATable) {
    constexpr std::size_t places = 4096;
    constexpr std::size_t average = 16;
    std::vector<std::size_t> counts(places);
    for (const auto& name : numberedNames(places * average)) {
        ++counts[hashOf(name) % places];
    }
    EXPECT_LT(*std::max_element(counts.begin(), counts.end()), 4 * average);
}

/// Returns the eight bytes of `word` as code units.
std::u16string unitsOf(std::uint64_t word) {
    std::u16string units;
    for (unsigned bit = 0; bit < 64; bit += 16) {
        units += static_cast<char16_t>(word >> bit & 0xFFFFU);
    }
    return units;
}

TEST(PathHashTest, DiffersForTextsThatContainItsConstants) {
    std::unordered_set<std::uint64_t> hashes;
    std::size_t texts = 0;
    for (const std::uint64_t number :
         {0x6a09'e667'f3bc'c909U, 0xbb67'ae85'84ca'a73bU, 0x3c6e'f372'fe94'f82bU}) {
        for (const auto* end : {u"", u"z", u"zzzz", u"zzzzzzzzz"}) {
            for (char16_t unit = u'a'; unit <= u'p'; ++unit) {
                for (std::size_t before = 1; before <= 8; ++before) {
                    hashes.insert(hashOf(std::u16string(before, unit) + unitsOf(number) + end));
                    ++texts;
                }
            }
        }
    }
    EXPECT_EQ(hashes.size(), texts) << "texts with equal hashes can be constructed despite ASLR";
}

} // namespace
} // namespace storage::inmemoryprovider::path_hash_test
