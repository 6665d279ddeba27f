#include "host/mount/CompactName.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace storage::tests {

namespace {

using host::CompactName;

/// Returns names of each form, and of the lengths at which the form changes.
std::vector<std::u16string> texts() {
    std::vector<std::u16string> all;
    for (const std::size_t size : {0U, 1U, 7U, 8U, 14U, 15U, 16U, 254U, 255U, 256U, 1000U}) {
        for (const char16_t unit : {u'a', u'\u00ff', u'\u0100', u'\u20ac', char16_t{0xD800}, char16_t{0}}) {
            std::u16string text(size, u'n');
            text.replace(size / 2, size > 0 ? 1 : 0, size > 0 ? 1 : 0, unit);
            all.push_back(std::move(text));
        }
    }
    return all;
}

TEST(CompactNameTest, ReturnsItsText) {
    for (const std::u16string& text : texts()) {
        const CompactName name(text);
        EXPECT_EQ(name.text(), text);
        EXPECT_EQ(name.empty(), text.empty());
        EXPECT_TRUE(name.read([&](std::u16string_view units) { return units == text; }));
    }
}

TEST(CompactNameTest, IsEmptyAfterAMove) {
    for (const std::u16string& text : texts()) {
        CompactName name(text);
        CompactName made(std::move(name));
        EXPECT_EQ(made.text(), text);
        EXPECT_TRUE(name.empty()); // NOLINT(bugprone-use-after-move)
        CompactName assigned(std::u16string(20, u'x'));
        assigned = std::move(made);
        EXPECT_EQ(assigned.text(), text);
        EXPECT_TRUE(made.empty()); // NOLINT(bugprone-use-after-move)
        std::swap(assigned, name);
        EXPECT_EQ(name.text(), text);
    }
}

} // namespace

} // namespace storage::tests
