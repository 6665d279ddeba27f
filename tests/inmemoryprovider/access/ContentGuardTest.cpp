#include "inmemoryprovider/access/ContentGuard.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider::content_guard_test {
namespace {

std::mutex* mutexOf(const std::shared_ptr<std::vector<std::uint8_t>>& content) {
    return &static_cast<GuardedContent&>(*content).mutex;
}

TEST(ContentGuard, newContentIsEmptyAndBringsAMutexOfItsOwn) {
    const auto one = makeGuardedContent();
    const auto two = makeGuardedContent();
    EXPECT_TRUE(one->empty());
    EXPECT_TRUE(isGuardedContent(one));
    EXPECT_NE(mutexOf(one), mutexOf(two));
}

TEST(ContentGuard, contentIsKnownByEachPointerToIt) {
    const auto content = makeGuardedContent();
    const auto copy =
        content; // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    EXPECT_TRUE(isGuardedContent(copy));
    EXPECT_EQ(mutexOf(content), mutexOf(copy));
}

TEST(ContentGuard, contentMadeElsewhereIsToldApart) {
    EXPECT_FALSE(isGuardedContent(std::make_shared<std::vector<std::uint8_t>>(3)));
}

TEST(ContentGuard, aVectorThatOnlySharesTheLifetimeOfContentIsNotThatContent) {
    const auto content = makeGuardedContent();
    std::vector<std::uint8_t> other;
    const std::shared_ptr<std::vector<std::uint8_t>> alias(content, &other);
    EXPECT_FALSE(isGuardedContent(alias));
}

TEST(ContentGuard, anAddressAlwaysChoosesTheSameMutex) {
    const int first = 0;
    EXPECT_EQ(&guardAt(&first), &guardAt(&first));
    const std::lock_guard lock(guardAt(&first));
}

} // namespace
} // namespace storage::inmemoryprovider::content_guard_test
