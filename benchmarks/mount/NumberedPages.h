#pragma once

#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// A file of pages of 4 KiB that each hold a number, as it is meant to be. Whoever writes to it tells.
class NumberedPages {
public:
    static constexpr std::size_t pageSize = 4096;

    /// Page i has the number i.
    NumberedPages(std::filesystem::path path, std::size_t count);

    const char* path() const { return path_.c_str(); }
    std::size_t count() const { return numbers_.size(); }

    /// What a page with a number holds.
    const char* content(std::uint64_t number) { return block_.stamped(number); }

    /// A page has another number now.
    void renumber(std::size_t page, std::uint64_t number) { numbers_[page] = number; }

    /// What the first word of a page is to be.
    std::uint64_t firstWord(std::size_t page);

    /// @throws WrongResult when the file differs in anything
    void verify();

private:
    std::filesystem::path path_;
    std::vector<std::uint64_t> numbers_;
    PatternedBlock block_{4096, pageSize};
};

} // namespace storage::benchmark
