#pragma once

#include "host/storage/ByteStreamDevice.h"

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// Reads the lines of a file of the storage. A line takes as much memory as it has bytes.
///
/// Thread safety: one object is for one thread.
class LineReader {
public:
    explicit LineReader(ByteStreamDevice file);

    /// The next line without its newline, which the last one may lack; nothing at the end.
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
