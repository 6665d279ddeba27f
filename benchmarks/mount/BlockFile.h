#pragma once

#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/Timing.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace storage::benchmark {

/// A file of numbered blocks, with timed and verified steps. Each step opens and closes the file. Timings
/// count blocks.
class BlockFile {
public:
    BlockFile(std::filesystem::path path, std::size_t blockSize, std::uint64_t size);

    /// Creates the file and writes it in order.
    Timing write();

    /// Reads the file in order.
    /// @throws WrongResult
    Timing read();

    /// Reads these blocks.
    /// @throws WrongResult
    Timing read(const std::vector<std::uint32_t>& blocks);

    /// Overwrites these blocks, each at most once.
    Timing overwrite(const std::vector<std::uint32_t>& blocks);

    void dropCache() const;

    /// Reads the file with a cold page cache.
    /// @throws WrongResult when it has another content than was written
    void verify();

    std::size_t count() const { return numbers_.size(); }

private:
    Timing timed(int flags, std::size_t blocks, const std::function<void(FileStream&)>& step) const;

    std::filesystem::path path_;
    std::size_t blockSize_;
    std::vector<std::uint64_t> numbers_; ///< of each block
    PatternedBlock content_;
    AlignedBuffer buffer_;
};

} // namespace storage::benchmark
