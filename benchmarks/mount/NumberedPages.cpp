#include "benchmarks/mount/NumberedPages.h"

#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/WrongResult.h"

#include <fcntl.h>
#include <numeric>
#include <utility>

namespace storage::benchmark {

NumberedPages::NumberedPages(std::filesystem::path path, std::size_t count)
    : path_(std::move(path)), numbers_(count) {
    std::iota(numbers_.begin(), numbers_.end(), 0U);
}

std::uint64_t NumberedPages::firstWord(std::size_t page) {
    return PatternedBlock::firstWord(content(numbers_[page]));
}

void NumberedPages::verify() {
    FileStream file(path(), O_RDONLY);
    AlignedBuffer buffer(pageSize);
    for (const std::uint64_t number : numbers_) {
        file.read(buffer.data(), pageSize);
        expectTrue(block_.holds(buffer.data(), number), "a page has the bytes that were written");
    }
    expectEqual(std::filesystem::file_size(path_), count() * pageSize, "the size of the file");
}

} // namespace storage::benchmark
