// Like ModelTest.cpp, but the sequences are decoded from random bytes, as in fuzzing. Does not require
// rapidcheck.

#include "tests/model/LockstepRun.h"
#include "tests/model/OperationReader.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace storage::inmemoryprovider::tests {
namespace {

TEST(ProviderAndModelTest, AgreeOnSequencesFromRandomBytes) {
    constexpr int sequences = 100;
    constexpr std::size_t length = 2000; // bytes; an operation takes a few of them
    constexpr std::size_t changesPerComparison = 4;
    std::mt19937 random(1);
    OutcomeTally tally;
    std::size_t operationsRun = 0;
    for (int sequence = 0; sequence < sequences; ++sequence) {
        std::vector<std::uint8_t> bytes(length);
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto operations = OperationReader(ByteReader({bytes.data(), bytes.size()})).operations();
        const auto disagreement = LockstepRun(tally, changesPerComparison).run(operations);
        ASSERT_FALSE(disagreement.has_value()) << "sequence " << sequence << ": " << *disagreement;
        operationsRun += operations.size();
    }
    EXPECT_GT(operationsRun, 10'000U);
}

} // namespace
} // namespace storage::inmemoryprovider::tests
