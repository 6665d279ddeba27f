// The bytes are a sequence of operations, which a provider and the reference model go through side by side.

#include "tests/fuzz/Fail.h"
#include "tests/fuzz/OperationReader.h"
#include "tests/fuzz/PrintedCount.h"
#include "tests/model/LockstepRun.h"

using namespace storage::inmemoryprovider::tests;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static PrintedCount count("operations agreed on");
    OutcomeTally tally;
    const auto operations = OperationReader(ByteReader({data, size})).operations();
    if (const auto disagreement = LockstepRun(tally).run(operations)) {
        fail(*disagreement);
    }
    count.add(operations.size());
    return 0;
}
