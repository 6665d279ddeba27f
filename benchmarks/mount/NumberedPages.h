#pragma once

#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// The expected content of a file: pages of 4 KiB with a number each. Callers report their writes.
class NumberedPages {
public:
    static constexpr std::size_t pageSize = 4096;

    /// Page i initially has the number i.
    NumberedPages(std::filesystem::path path, std::size_t count);

    const char* path() const { return path_.c_str(); }
    std::size_t count() const { return numbers_.size(); }

    /// The content of a page with this number.
    const char* content(std::uint64_t number) { return block_.stamped(number); }

    /// Reports that a page was written with another number.
    void renumber(std::size_t page, std::uint64_t number) { numbers_[page] = number; }

    /// The expected first word of a page.
    std::uint64_t firstWord(std::size_t page);

    /// @throws WrongResult when the file has another content
    void verify();

private:
    std::filesystem::path path_;
    std::vector<std::uint64_t> numbers_;
    PatternedBlock block_{4096, pageSize};
};

} // namespace storage::benchmark
