// Compares a provider with the reference model. The input is decoded into a sequence of operations for both.

#include "tests/fuzz/Fail.h"
#include "tests/fuzz/PrintedCount.h"
#include "tests/model/LockstepRun.h"
#include "tests/model/OperationReader.h"

using namespace storage::inmemoryprovider::tests;

namespace {

// Comparing whole trees takes most of the time. A difference rarely disappears within a few changes.
constexpr std::size_t changesPerComparison = 4;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static PrintedCount count("operations agreed on");
    OutcomeTally tally;
    const auto operations = OperationReader(ByteReader({data, size})).operations();
    if (const auto disagreement = LockstepRun(tally, changesPerComparison).run(operations)) {
        fail(*disagreement);
    }
    count.add(operations.size());
    return 0;
}
