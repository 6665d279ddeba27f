#include "benchmarks/scenarios/Scenario.h"

#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/WrongResult.h"

#include <array>

namespace storage::benchmark {

namespace {

constexpr std::size_t writeSize = 64;
constexpr PathIndex file = 0;

void verify(Store& store, PatternedBlock& block, std::uint32_t writes) {
    expectEqual(store.fileSize(file), std::uint64_t{writes} * writeSize, "the size of the file");
    std::array<char, writeSize> buffer{};
    const auto stream = store.openToRead(file);
    for (std::uint32_t i = 0; i < writes; ++i) {
        stream->read(buffer.data(), writeSize);
        expectTrue(block.holds(buffer.data(), i, writeSize), "the file has the bytes that were appended");
    }
}

void runAppends(const StoreKind& kind, std::uint32_t writes, Rows& rows) {
    const std::uint64_t size = std::uint64_t{writes} * writeSize;
    PatternedBlock block(64);
    const auto append = [&](const std::string& variant, bool inAppendMode) {
        const auto store = kind.build();
        store->prepare({"/file"});
        auto stream = store->createStream(file, size);
        if (inAppendMode) {
            stream = store->openToAppend(file);
        }
        const Timing timing = measure(writes, withoutBudget, [&](std::size_t i) {
            stream->write(block.stamped(i, writeSize), writeSize);
        });
        stream.reset();
        rows.addCost("append", variant, timing);
        verify(*store, block, writes);
    };
    append("64 bytes, at the position", false);
    append("64 bytes, append mode", true);
}

} // namespace

Scenario appendScenario(std::uint32_t writes) {
    return {"append", {Ability::Append}, [=](const StoreKind& kind, Rows& rows) {
                runAppends(kind, writes, rows);
            }};
}

} // namespace storage::benchmark
