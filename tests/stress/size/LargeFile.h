#pragma once

#include "tests/stress/size/Storage.h"
#include "tests/stress/size/TestBytes.h"

#include <cstdint>
#include <vector>

namespace storage::stress {

/// Writes a file of many blocks, reads it, overwrites its middle and reads it again. Checks every byte.
///
/// Owns the provider. Not thread-safe.
class LargeFile {
public:
    /// @param size  bytes, a multiple of 64 KiB
    explicit LargeFile(std::int64_t size);

    /// Prints a message and does nothing if there is not enough memory.
    /// @throws Violation
    void run();

private:
    void write();
    void overwriteMiddle();
    void verify();
    /// The expected content of a block.
    void expectedBlock(std::vector<char>& block, std::int64_t offset) const;

    std::shared_ptr<IProvider> provider_ = newProvider();
    std::int64_t size_;
    TestBytes written_{1};
    TestBytes overwritten_{2};
    std::int64_t overwrittenFrom_ = 0;
    std::int64_t overwrittenTo_ = 0; ///< end of the overwritten range
};

} // namespace storage::stress
