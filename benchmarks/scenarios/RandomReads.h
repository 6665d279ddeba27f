#pragma once

#include "benchmarks/stores/Store.h"
#include "benchmarks/workload/Expect.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"

#include <memory>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// Reads of 4 KiB at random offsets of a file of numbered blocks. Owns the open file. Aligned to avoid false
/// sharing with the reads of another thread.
class alignas(64) RandomReads {
public:
    /// @param fileSize  at least 4 KiB
    RandomReads(const PatternedBlock& content, std::uint64_t fileSize, std::size_t count,
                std::unique_ptr<Stream> stream)
        : offsets_(count), stream_(std::move(stream)) {
        auto random = fixedRandom();
        for (std::uint64_t& offset : offsets_) {
            offset = random() % ((fileSize - readSize) / 8 + 1) * 8;
            words_.push_back(content.wordAt(offset));
        }
    }

    std::size_t count() const { return offsets_.size(); }

    /// After the last read begins again with the first.
    void readNext() {
        stream_->readAt(offsets_[next_], buffer_.data(), readSize);
        difference_ += PatternedBlock::firstWord(buffer_.data()) - words_[next_];
        next_ = next_ + 1 == offsets_.size() ? 0 : next_ + 1;
    }

    void verify() const {
        expectEqual(difference_, 0, "the difference between the sums of words read and written");
    }

private:
    static constexpr std::size_t readSize = 4096;

    std::vector<std::uint64_t> offsets_;
    std::vector<std::uint64_t> words_; ///< the first word at each offset
    std::size_t next_ = 0;
    AlignedBuffer buffer_{readSize};
    std::uint64_t difference_ = 0; ///< between the sums of the words that were read and written
    std::unique_ptr<Stream> stream_;
};

} // namespace storage::benchmark
