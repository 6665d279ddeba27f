#include "benchmarks/mount/SequentialJob.h"

#include "benchmarks/mount/PageCache.h"
#include "benchmarks/results/Timing.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/WrongResult.h"

#include <fcntl.h>

namespace storage::benchmark {

namespace {

constexpr std::size_t blockSize = 1 << 20;
constexpr double megabyte = 1e6;

/// One run: a file of blocks numbered from 0 on.
class SequentialRun {
public:
    SequentialRun(const std::filesystem::path& folder, std::uint64_t fileSize)
        : path_(folder / "file"), blocks_(fileSize / blockSize) {}

    double write();
    double read();
    void verify();
    void dropCache() const { dropCachedPages(path_); }

private:
    std::filesystem::path path_;
    std::uint64_t blocks_;
    PatternedBlock content_{1, blockSize};
    AlignedBuffer buffer_{blockSize};
};

double SequentialRun::write() {
    const auto start = std::chrono::steady_clock::now();
    FileStream file(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL);
    for (std::uint64_t block = 0; block < blocks_; ++block) {
        file.write(content_.stamped(block), blockSize);
    }
    file.close();
    return secondsSince(start);
}

double SequentialRun::read() {
    std::uint64_t sum = 0;
    const auto start = std::chrono::steady_clock::now();
    FileStream file(path_.c_str(), O_RDONLY);
    for (std::uint64_t block = 0; block < blocks_; ++block) {
        file.read(buffer_.data(), blockSize);
        sum += PatternedBlock::firstWord(buffer_.data());
    }
    file.close();
    const double seconds = secondsSince(start);
    std::uint64_t expected = 0;
    for (std::uint64_t block = 0; block < blocks_; ++block) {
        expected += content_.wordAt(block * blockSize);
    }
    expectEqual(sum, expected, "the sum of what was read");
    return seconds;
}

void SequentialRun::verify() {
    FileStream file(path_.c_str(), O_RDONLY);
    for (std::uint64_t block = 0; block < blocks_; ++block) {
        file.read(buffer_.data(), blockSize);
        expectTrue(content_.holds(buffer_.data(), block), "a block has the bytes that were written");
    }
    expectEqual(std::filesystem::file_size(path_), blocks_ * blockSize, "the size of the file");
}

} // namespace

void SequentialJob::run(const std::filesystem::path& folder, const SourceTree& /*source*/,
                        Measurements& measurements) const {
    SequentialRun run(folder, fileSize_);
    const auto bytes = static_cast<double>(fileSize_);
    measurements.addRate({"sequential write, 1 MiB blocks"}, bytes, run.write(), megabyte);
    run.dropCache();
    measurements.addRate({"sequential read, 1 MiB, cold"}, bytes, run.read(), megabyte);
    measurements.addRate({"sequential read, 1 MiB, once more"}, bytes, run.read(), megabyte);
    run.dropCache();
    run.verify();
}

} // namespace storage::benchmark
