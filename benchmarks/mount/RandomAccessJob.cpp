#include "benchmarks/mount/RandomAccessJob.h"

#include "benchmarks/mount/NumberedPages.h"
#include "benchmarks/mount/PageCache.h"
#include "benchmarks/results/Timing.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fcntl.h>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t pageSize = NumberedPages::pageSize;

/// One run: the file, and the pages to read and write.
class RandomAccessRun {
public:
    RandomAccessRun(const std::filesystem::path& folder, std::size_t pageCount, std::uint32_t operations)
        : pages_(folder / "file", pageCount), order_(randomOrder(pageCount)) {
        order_.resize(operations);
    }

    void fill();
    Timing read();
    Timing write();
    void verify();
    void dropCache() const { dropCachedPages(pages_.path()); }

private:
    NumberedPages pages_;
    std::vector<std::uint32_t> order_;
    AlignedBuffer buffer_{pageSize};
};

void RandomAccessRun::fill() {
    FileStream file(pages_.path(), O_WRONLY | O_CREAT | O_EXCL);
    for (std::size_t page = 0; page < pages_.count(); ++page) {
        file.write(pages_.content(page), pageSize);
    }
    file.close();
}

Timing RandomAccessRun::read() {
    std::uint64_t sum = 0;
    const auto start = std::chrono::steady_clock::now();
    FileStream file(pages_.path(), O_RDONLY);
    for (const std::uint32_t page : order_) {
        file.readAt(page * pageSize, buffer_.data(), pageSize);
        sum += PatternedBlock::firstWord(buffer_.data());
    }
    file.close();
    const double seconds = secondsSince(start);
    std::uint64_t expected = 0;
    for (const std::uint32_t page : order_) {
        expected += pages_.firstWord(page);
    }
    expectEqual(sum, expected, "the sum of what was read");
    return {order_.size(), seconds};
}

Timing RandomAccessRun::write() {
    const std::uint64_t firstNumber = pages_.count();
    const auto start = std::chrono::steady_clock::now();
    FileStream file(pages_.path(), O_WRONLY);
    for (const std::uint32_t page : order_) {
        file.writeAt(page * pageSize, pages_.content(firstNumber + page), pageSize);
    }
    file.close();
    const double seconds = secondsSince(start);
    for (const std::uint32_t page : order_) {
        pages_.renumber(page, firstNumber + page);
    }
    return {order_.size(), seconds};
}

void RandomAccessRun::verify() {
    dropCache();
    pages_.verify();
}

} // namespace

void RandomAccessJob::run(const std::filesystem::path& folder, const SourceTree& /*source*/,
                          Measurements& measurements) const {
    RandomAccessRun run(folder, fileSize_ / pageSize, operations_);
    run.fill();
    run.dropCache();
    measurements.addThousands({"random read, 4 KiB, cold"}, run.read());
    measurements.addThousands({"random read, 4 KiB, once more"}, run.read());
    measurements.addThousands({"random write, 4 KiB"}, run.write());
    run.verify();
}

} // namespace storage::benchmark
