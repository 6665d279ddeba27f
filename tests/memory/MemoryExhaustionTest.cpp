#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/memory/Operations.h"
#include "tests/memory/Sweep.h"
#include "tests/memory/SweepTally.h"
#include "tests/support/OperationProbe.h"

#include <gtest/gtest.h>

#include <iostream>
#include <ostream>
#include <set>

namespace storage::tests {
namespace {

struct Case {
    const TreeShape* shape;
    Operation operation;
};

void PrintTo(const Case& tried, std::ostream* out) {
    *out << tried.operation.name << " on " << tried.shape->name;
}

std::string nameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.operation.name + "_" + info.param.shape->name;
}

/// Each operation on each tree that has the entries it requires.
std::vector<Case> casesOf(const std::vector<std::vector<Operation>>& tables) {
    std::vector<Case> cases;
    for (const auto& operations : tables) {
        for (const auto& operation : operations) {
            for (const auto& shape : treeShapes()) {
                if (operation.canBeTriedOn(shape)) {
                    cases.push_back({&shape, operation});
                }
            }
        }
    }
    return cases;
}

class RefusedOutOfMemoryTest : public testing::TestWithParam<Case> {};

TEST_P(RefusedOutOfMemoryTest, StaysRefused) {
    sweepRefused(*GetParam().shape, GetParam().operation);
}

INSTANTIATE_TEST_SUITE_P(MemoryExhaustion, RefusedOutOfMemoryTest,
                         testing::ValuesIn(casesOf({refusedOperations(), refusedHostOperations()})), nameOf);

class OutOfMemoryTest : public testing::TestWithParam<Case> {};

TEST_P(OutOfMemoryTest, FailsOneAllocation) {
    sweep(*GetParam().shape, GetParam().operation, FailingAllocation::Extent::Once);
}

TEST_P(OutOfMemoryTest, FailsAllLaterAllocations) {
    sweep(*GetParam().shape, GetParam().operation, FailingAllocation::Extent::FromThenOn);
}

INSTANTIATE_TEST_SUITE_P(MemoryExhaustion, OutOfMemoryTest,
                         testing::ValuesIn(casesOf({providerOperations(), moveOperations(),
                                                    streamOperations(), listingOperations(),
                                                    hostOperations()})),
                         nameOf);

TEST(MemoryExhaustionTest, CoversEveryOperationOfAProvider) {
    const auto& catalogue = provider::providerOperations;
    std::set<std::optional<std::size_t>> called;
    for (const Case& tried : casesOf({providerOperations(), moveOperations(), hostOperations(),
                                      refusedOperations(), refusedHostOperations()})) {
        called.insert(OperationProbe::firstCalledBy(
            [&](auto& provider) { tried.operation.prepare(provider, *tried.shape).run(); }));
    }
    for (std::size_t i = 0; i < catalogue.size(); ++i) {
        EXPECT_TRUE(called.contains(i)) << catalogue[i].name;
    }
}

/// Prints the statistics at the end.
class Report : public testing::Environment {
public:
    void TearDown() override {
        const auto* test = testing::UnitTest::GetInstance();
        std::cout << "memory exhaustion: " << SweepTally::instance().summary() << ", "
                  << (test->Failed() ? "NOT all survived" : "all survived") << std::endl;
    }
};

const testing::Environment* const report = testing::AddGlobalTestEnvironment(new Report);

} // namespace
} // namespace storage::tests
