#include "inmemoryprovider/access/ContentGuard.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider {
namespace {

TEST(ContentGuard, newContentIsEmptyAndBringsAMutexOfItsOwn) {
    const auto one = makeGuardedContent();
    const auto two = makeGuardedContent();
    EXPECT_TRUE(one->empty());
    EXPECT_NE(&guardOf(one), &guardOf(two));
}

TEST(ContentGuard, theMutexBelongsToTheBytesAndNotToThePointer) {
    const auto content = makeGuardedContent();
    const auto copy =
        content; // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    EXPECT_EQ(&guardOf(content), &guardOf(copy));
}

TEST(ContentGuard, contentMadeElsewhereHasOneMutexToo) {
    const auto content = std::make_shared<std::vector<std::uint8_t>>(3);
    const auto copy =
        content; // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    EXPECT_EQ(&guardOf(content), &guardOf(copy));
    const std::lock_guard lock(guardOf(content));
}

TEST(ContentGuard, aVectorThatOnlySharesTheLifetimeOfContentIsNotGuardedAsThatContent) {
    const auto content = makeGuardedContent();
    std::vector<std::uint8_t> other;
    const std::shared_ptr<std::vector<std::uint8_t>> alias(content, &other);
    EXPECT_NE(&guardOf(content), &guardOf(alias));
}

} // namespace
} // namespace storage::inmemoryprovider
