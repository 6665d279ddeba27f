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

void run(const StoreKind& kind, std::uint32_t writes, Rows& rows) {
    const auto store = kind.build();
    PatternedBlock block(64);
    store->prepare({"/file"});
    auto stream = store->createStream(file, std::uint64_t{writes} * writeSize);
    const Timing timing = measure(
        writes, withoutBudget, [&](std::size_t i) { stream->write(block.stamped(i, writeSize), writeSize); });
    stream.reset();
    rows.addCost("append", "64 bytes", timing);
    verify(*store, block, writes);
}

} // namespace

Scenario appendScenario(std::uint32_t writes) {
    return {"append", {Ability::Append}, [=](const StoreKind& kind, Rows& rows) { run(kind, writes, rows); }};
}

} // namespace storage::benchmark
