#include "host/storage/LineReader.h"

#include "host/support/Interruption.h"

#include <algorithm>
#include <utility>

namespace storage::host {

LineReader::LineReader(ByteStreamDevice file) : file_(std::move(file)), buffer_(transferBufferSize) {}

std::optional<std::string> LineReader::next() {
    std::string line;
    while (position_ < end_ || fill()) {
        const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(position_);
        const auto end = buffer_.begin() + static_cast<std::ptrdiff_t>(end_);
        const auto newline = std::find(begin, end, '\n');
        line.append(begin, newline);
        position_ = static_cast<std::size_t>(newline - buffer_.begin());
        if (newline != end) {
            ++position_;
            return line;
        }
    }
    return line.empty() ? std::nullopt : std::optional(std::move(line));
}

/// Returns false at the end of the file.
bool LineReader::fill() {
    Interruption::check();
    const std::streamsize count = file_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    position_ = 0;
    end_ = static_cast<std::size_t>(std::max<std::streamsize>(count, 0));
    return end_ > 0;
}

} // namespace storage::host
