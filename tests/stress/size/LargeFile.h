#pragma once

#include "tests/stress/size/Storage.h"
#include "tests/stress/size/TestBytes.h"

#include <cstdint>
#include <vector>

namespace storage::stress {

/// A file of many blocks that is written, read, overwritten in the middle and read again, every byte checked.
///
/// Owns the provider. Thread safety: for one thread.
class LargeFile {
public:
    /// @param size  bytes, a multiple of 64 KiB
    explicit LargeFile(std::int64_t size);

    /// Says so and does nothing where memory is short.
    /// @throws Fault
    void run();

private:
    void write();
    void overwriteMiddle();
    void verify();
    /// What a block must hold.
    void expectedBlock(std::vector<char>& block, std::int64_t offset) const;

    std::shared_ptr<IProvider> provider_ = newProvider();
    std::int64_t size_;
    TestBytes written_{1};
    TestBytes overwritten_{2};
    std::int64_t overwrittenFrom_ = 0;
    std::int64_t overwrittenTo_ = 0; ///< behind the last byte
};

} // namespace storage::stress
