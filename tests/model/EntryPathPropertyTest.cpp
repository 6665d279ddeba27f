// Compares the entry path with a plain model of its rules, for every short text and for random texts.
// ModelTest.cpp explains how to repeat a failure.

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "tests/model/EntryPathRules.h"
#include "tests/model/PathPool.h"
#include "tests/model/PathRules.h"
#include "tests/model/ShownText.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

namespace {

/// Every text of up to `longest` code units, made of separators and two letters.
std::vector<std::u16string> shortTexts(std::size_t longest) {
    std::vector<std::u16string> texts = {u""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
        for (const char16_t unit : {u'/', u'a', u'b'}) {
            texts.push_back(texts[i] + unit);
        }
    }
    return texts;
}

/// Mostly separators and a few letters; also paired and lone surrogates, and the lowest and highest code
/// units.
std::u16string anyText() {
    const std::u16string units = std::u16string(u"////ab.\xD83D\xDE00\xE000\xFFFF") + u'\0';
    return *rc::gen::container<std::u16string>(rc::gen::elementOf(units)).as("text");
}

TEST(EntryPathPropertiesTest, HoldForEveryShortText) {
    for (const auto& text : shortTexts(7)) {
        EXPECT_EQ(ruleBrokenBy(text), "") << shown(text);
    }
}

TEST(EntryPathPropertiesTest, OrderAndAppendEveryPairOfShortTexts) {
    for (const auto& leftText : shortTexts(4)) {
        for (const auto& rightText : shortTexts(4)) {
            EXPECT_EQ(ruleBrokenBy(leftText, rightText), "") << shown(leftText) + " and " + shown(rightText);
        }
    }
}

RC_GTEST_PROP(EntryPathPropertiesTest, HoldForAnyText, ()) {
    RC_ASSERT(ruleBrokenBy(anyText()) == "");
}

RC_GTEST_PROP(EntryPathPropertiesTest, OrderAndAppendAnyTwoTexts, ()) {
    const auto left = anyText();
    const auto right = anyText();
    RC_ASSERT(ruleBrokenBy(left, right) == "");
    RC_ASSERT(ruleBrokenBy(right, left) == "");
}

RC_GTEST_PROP(EntryPathPropertiesTest, AppendAnyTextRepeatedly, ()) {
    InMemoryEntryPath path(anyText());
    std::u16string expected = path.string();
    for (int i = 0; i < 3; ++i) {
        const std::u16string name = anyText();
        expected = appended(expected, name);
        RC_ASSERT(path.append(name).string() == expected);
        RC_ASSERT(path.parentPath().string() == parentOf(expected));
        RC_ASSERT(path.filename() == nameOf(expected));
    }
}

TEST(EntryPathPropertiesTest, AddressEveryPathByAText) {
    for (const auto& text : pathPool()) {
        const auto path = normalised(text);
        EXPECT_EQ(InMemoryEntryPath(addressOf(path)).string(), path) << shown(text);
    }
}

} // namespace

} // namespace storage::inmemoryprovider::tests
