#include "tests/stress/size/LargeFile.h"

#include "tests/stress/Stopwatch.h"
#include "tests/stress/size/Mebibyte.h"
#include "tests/support/ProcessMemory.h"

#include <fmt/core.h>

#include <algorithm>

namespace storage::stress {

namespace {

constexpr std::int64_t blockSize = std::int64_t{64} << 10;

const StorageIRI file(u"/f");

/// A growing file must not require memory for a second copy of its bytes.
std::int64_t allowedPeak(std::int64_t size) {
    return size + size / 20;
}

} // namespace

LargeFile::LargeFile(std::int64_t size) : size_(size) {}

void LargeFile::run() {
    const auto needed = allowedPeak(size_) + 64 * mebibyte;
    const auto available = availableMemory();
    if (available < needed) {
        fmt::print("large file: skipped: {} MiB require {} MiB of memory, {} MiB are available\n",
                   size_ / mebibyte, needed / mebibyte, available / mebibyte);
        return;
    }
    const Stopwatch watch;
    const ProcessMemory memory;
    write();
    verify();
    overwriteMiddle();
    verify();
    fmt::print("large file: {} bytes written, read, overwritten from {} to {} and read again, {:.1f} s\n",
               size_, overwrittenFrom_, overwrittenTo_, watch.seconds());
    const auto peak = memory.peakGrowth();
    fmt::print("large file: at most {} MiB of memory for {} MiB\n", peak / mebibyte, size_ / mebibyte);
    requireThat(peak <= allowedPeak(size_), "large file: ", peak, " bytes of memory for a file of ", size_);
}

void LargeFile::write() {
    const auto stream = provider_->doOpenStream(file, {});
    std::vector<char> block(blockSize);
    for (std::int64_t offset = 0; offset < size_; offset += blockSize) {
        written_.fill(block, static_cast<std::uint64_t>(offset));
        requireThat(stream->write(block.data(), blockSize) == blockSize, "large file: incomplete write at ",
                    offset);
    }
}

void LargeFile::overwriteMiddle() {
    overwrittenFrom_ = size_ / 2 - blockSize / 2 - 333;
    std::vector<char> part(blockSize + 777);
    overwrittenTo_ = overwrittenFrom_ + static_cast<std::int64_t>(part.size());
    overwritten_.fill(part, static_cast<std::uint64_t>(overwrittenFrom_));
    const auto stream = provider_->doOpenStream(file, {});
    requireThat(stream->seek(overwrittenFrom_, std::ios_base::beg) == overwrittenFrom_,
                "large file: seek to the middle fails");
    stream->write(part.data(), static_cast<long>(part.size()));
    requireThat(stream->seek(0, std::ios_base::cur) == overwrittenTo_,
                "large file: wrong position after overwriting");
}

void LargeFile::verify() {
    const auto size = provider_->doGetFileAttributes(file).getSize();
    requireThat(static_cast<std::int64_t>(size) == size_, "large file: size ", size, " instead of ", size_);
    const auto stream = provider_->doOpenReadOnlyStream(file);
    std::vector<char> block(blockSize);
    std::vector<char> expected(blockSize);
    for (std::int64_t offset = 0; offset < size_; offset += blockSize) {
        requireThat(stream->read(block.data(), blockSize) == blockSize, "large file: incomplete read at ",
                    offset);
        expectedBlock(expected, offset);
        requireThat(block == expected, "large file: wrong bytes in the block at ", offset);
    }
    requireThat(stream->read(block.data(), blockSize) == -1, "large file: a read at the end returns bytes");
}

void LargeFile::expectedBlock(std::vector<char>& block, std::int64_t offset) const {
    written_.fill(block, static_cast<std::uint64_t>(offset));
    const auto from = std::max(offset, overwrittenFrom_);
    const auto to = std::min(offset + blockSize, overwrittenTo_);
    if (from < to) {
        std::vector<char> part(static_cast<std::size_t>(to - from));
        overwritten_.fill(part, static_cast<std::uint64_t>(from));
        std::copy(part.begin(), part.end(), block.begin() + (from - offset));
    }
}

} // namespace storage::stress
