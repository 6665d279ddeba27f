#include "tests/memory/FailingAllocation.h"

#include <gtest/gtest.h>

#include <functional>
#include <latch>
#include <map>
#include <new>
#include <string>
#include <thread>

namespace storage::tests {
namespace {

constexpr std::align_val_t cacheLine{64};

/// Calls the functions directly, because a compiler may optimize new-expressions away.
const std::map<std::string, std::function<void*()>> throwingForms{
    {"plain", [] { return operator new(8); }},
    {"array", [] { return operator new[](8); }},
    {"aligned", [] { return operator new(8, cacheLine); }},
    {"aligned array", [] { return operator new[](8, cacheLine); }},
};

const std::map<std::string, std::function<void*()>> quietForms{
    {"plain", [] { return operator new(8, std::nothrow); }},
    {"array", [] { return operator new[](8, std::nothrow); }},
    {"aligned", [] { return operator new(8, cacheLine, std::nothrow); }},
    {"aligned array", [] { return operator new[](8, cacheLine, std::nothrow); }},
};

/// Plain operator delete frees the memory of every form here.
bool succeeds(const std::function<void*()>& form) {
    try {
        void* const memory = form();
        operator delete(memory);
        return memory != nullptr;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

TEST(FailingAllocationTest, ReachesEveryFormOfNew) {
    for (const auto* forms : {&throwingForms, &quietForms}) {
        for (const auto& [name, form] : *forms) {
            const FailingAllocation failure(1);
            EXPECT_TRUE(succeeds(form)) << name;
            EXPECT_FALSE(failure.happened()) << name;
            EXPECT_FALSE(succeeds(form)) << name;
            EXPECT_TRUE(failure.happened()) << name;
        }
    }
}

TEST(FailingAllocationTest, FailsOnceOrFromThenOn) {
    {
        const FailingAllocation failure(0);
        EXPECT_FALSE(succeeds(throwingForms.at("plain")));
        EXPECT_TRUE(succeeds(throwingForms.at("plain")));
    }
    const auto& form = throwingForms.at("plain");
    {
        const FailingAllocation failure(0, FailingAllocation::Extent::FromThenOn);
        EXPECT_FALSE(succeeds(form));
        EXPECT_FALSE(succeeds(form));
    }
    EXPECT_TRUE(succeeds(form));
}

TEST(FailingAllocationTest, DoesNotAffectOtherThreads) {
    bool succeeded = false;
    std::latch memoryIsShort(1);
    std::thread other([&] {
        memoryIsShort.wait();
        succeeded = succeeds(throwingForms.at("plain"));
    });
    const FailingAllocation failure(0);
    memoryIsShort.count_down();
    other.join();
    EXPECT_TRUE(succeeded);
    EXPECT_FALSE(failure.happened());
}

} // namespace
} // namespace storage::tests
