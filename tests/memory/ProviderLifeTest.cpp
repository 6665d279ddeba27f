#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"
#include "inmemoryprovider/ReadOnlyException.h"
#include "tests/memory/ChildOutcome.h"
#include "tests/memory/FailingAllocation.h"
#include "tests/memory/SweepTally.h"
#include "tests/memory/TreeComparison.h"
#include "tests/memory/TreeShape.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>

namespace storage::tests {
namespace {

using provider::IProvider;

/// Builds providers, failing each allocation in turn. Checks that the caller's pointer is unchanged after
/// each failure. Returns the first provider that is built.
std::shared_ptr<IProvider>
buildWithoutMemory(const char* name, const std::function<void(std::shared_ptr<IProvider>&)>& buildProvider) {
    const auto old = build(treeShapes().back());
    const auto before = takeSnapshot(*old);
    for (std::size_t failures = 0;; ++failures) {
        std::shared_ptr<IProvider> provider = old;
        bool ranOut = false;
        {
            const FailingAllocation failure(failures);
            try {
                buildProvider(provider);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
            EXPECT_EQ(ranOut, failure.happened());
        }
        if (!ranOut) {
            EXPECT_GT(failures, 1U);
            SweepTally::instance().countOperation(name);
            return provider;
        }
        SweepTally::instance().countFailurePoints(1);
        EXPECT_EQ(provider, old);
        EXPECT_TRUE(isSameTree(takeSnapshot(*old), before, Times::All));
    }
}

void expectToHoldTheRootAlone(const IProvider& provider) {
    EXPECT_EQ(takeSnapshot(provider).size(), 1U);
    provider.doCreateFolder(provider::StorageIRI(u"/a"));
    EXPECT_EQ(takeSnapshot(provider).size(), 2U);
}

TEST(OutOfMemoryTest, BuildsAProviderOrKeepsThePointer) {
    expectToHoldTheRootAlone(
        *buildWithoutMemory("buildProvider_V1", [](auto& provider) { buildProvider_V1(&provider); }));
}

TEST(OutOfMemoryTest, BuildsAProviderCompletelyOrNotAtAll) {
    expectToHoldTheRootAlone(*buildWithoutMemory("buildInMemoryProvider", [](auto& provider) {
        provider = inmemoryprovider::buildInMemoryProvider();
    }));
}

TEST(OutOfMemoryTest, DestroysAProvider) {
    for (const auto& shape : treeShapes()) {
        auto provider = build(shape);
        {
            const FailingAllocation failure(0);
            provider.reset();
            EXPECT_FALSE(failure.happened()) << shape.name;
        }
        SweepTally::instance().countOperationOn(shape.name, "destruction of a provider");
    }
}

TEST(OutOfMemoryTest, ThrowsNoInternalExceptionWithoutItsMessage) {
    const inmemoryprovider::InMemoryEntryPath longPath(std::u16string(100, u'x'));
    const auto outcome = runInChild([&] {
        const FailingAllocation failure(0);
        try {
            throw inmemoryprovider::ReadOnlyException(longPath);
        } catch (const std::bad_alloc&) { // must not replace the refusal
        }
    });
    EXPECT_EQ(outcome, ChildOutcome::Terminated);
}

} // namespace
} // namespace storage::tests
