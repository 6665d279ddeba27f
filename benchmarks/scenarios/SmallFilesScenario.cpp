#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>
#include <numeric>

namespace storage::benchmark {

namespace {

void appendTo(const StoreKind& kind, Rows& rows, std::uint32_t writes, bool inAppendMode) {
    constexpr PathIndex file = 0;
    PatternedBlock block(64, 64);
    AlignedBuffer buffer(block.size());
    const std::uint64_t size = writes * block.size();
    const auto store = kind.build({"/file"});
    auto stream = store->open(file, Use::Create, size);
    if (inAppendMode) {
        stream = store->open(file, Use::Append);
    }
    const Timing timing =
        measure(writes, [&](std::uint32_t i) { stream->write(block.stamped(i), block.size()); });
    stream.reset();
    rows.addCost("append", inAppendMode ? "64 bytes, append mode" : "64 bytes, at the position", timing);
    expectEqual(store->fileSize(file), size, "the size of the file");
    stream = store->open(file, Use::Read);
    for (std::uint32_t i = 0; i < writes; ++i) {
        stream->read(buffer.data(), block.size());
        expectTrue(block.holds(buffer.data(), i), "the file has the bytes that were appended");
    }
}

} // namespace

/// Each file contains a numbered block of its size.
void runSmallFiles(const StoreKind& kind, Rows& rows, const std::string& variant, std::size_t fileSize,
                   std::uint32_t files, std::uint32_t operations) {
    std::vector<PathIndex> order = randomOrder(operations); // the file of each operation
    std::for_each(order.begin(), order.end(), [files](PathIndex& file) { file %= files; });
    std::vector<std::uint64_t> numbers(files); // the block number that each file contains
    std::iota(numbers.begin(), numbers.end(), 0U);
    PatternedBlock block(4096, fileSize);
    AlignedBuffer buffer(fileSize);
    PathList paths;
    const PathIndex folder = paths.add("/files");
    const PathIndex first = paths.addFiles("/files", files);
    const auto store = kind.build(paths.all());
    paths = {}; // frees memory that the store can reuse, as in a host
    const auto verify = [&] {
        for (std::uint32_t file = 0; file < files; ++file) {
            store->readFile(first + file, buffer.data(), fileSize);
            expectTrue(block.holds(buffer.data(), numbers[file]), "a file has the bytes that were written");
            expectEqual(store->fileSize(first + file), fileSize, "the size of a file");
        }
    };
    store->createFolder(folder);
    const Timing creating = measure(files, [&](std::uint32_t file) {
        store->open(first + file, Use::Create, fileSize)->write(block.stamped(file), fileSize);
    });
    verify();
    if (kind.can(Ability::Write)) {
        rows.addCost("create, write, release", variant, creating);
    }
    std::uint64_t sum = 0;
    rows.addCost("open, read, release", variant, measure(operations, [&](std::uint32_t i) {
                     store->readFile(first + order[i], buffer.data(), fileSize);
                     sum += PatternedBlock::firstWord(buffer.data());
                 }));
    for (const std::uint32_t file : order) {
        sum -= block.stampOf(numbers[file]);
    }
    expectEqual(sum, 0, "the difference between the sums of words read and written");
    if (kind.can(Ability::ChangeFiles)) {
        rows.addCost("open, overwrite, release", variant, measure(operations, [&](std::uint32_t i) {
                         store->overwriteFile(first + order[i], block.stamped(files + i), fileSize);
                     }));
        for (std::uint32_t i = 0; i < operations; ++i) {
            numbers[order[i]] = files + i;
        }
        verify();
    }
}

void runAppends(const StoreKind& kind, Rows& rows, std::uint32_t writes) {
    Rows discarded; // the first run also pays for memory that the hypervisor has not backed yet
    appendTo(kind, discarded, writes, false);
    for (const bool inAppendMode : {false, true}) {
        appendTo(kind, rows, writes, inAppendMode);
    }
}

} // namespace storage::benchmark
