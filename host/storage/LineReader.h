#pragma once

#include "host/storage/ByteStreamDevice.h"

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// Reads a file of the storage line by line. Memory use is that of the longest line.
///
/// Not thread-safe.
class LineReader {
public:
    explicit LineReader(ByteStreamDevice file);

    /// Returns the next line without its newline, which the last line may lack; nothing at the end.
    /// @throws Interrupted
    std::optional<std::string> next();

private:
    bool fill();

    ByteStreamDevice file_;
    std::vector<char> buffer_;
    std::size_t position_ = 0;
    std::size_t end_ = 0;
};

} // namespace storage::host
