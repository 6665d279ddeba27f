#include "tests/model/ModelStream.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <utility>

namespace storage::inmemoryprovider::tests {

using provider::ByteStreamAppend;

ModelStream::ModelStream(std::shared_ptr<std::string> bytes, ByteStreamAppend append)
    : bytes_(std::move(bytes)), append_(append) {}

std::string ModelStream::read(long count) {
    if (position_ >= size()) {
        return "";
    }
    const long left = size() - position_;
    const long taken = count < 0 ? left : std::min(left, count);
    std::string result = bytes_->substr(static_cast<std::size_t>(position_), static_cast<std::size_t>(taken));
    position_ += taken;
    return result;
}

void ModelStream::write(std::string_view data) {
    if (append_ == ByteStreamAppend::AppendAtEnd) {
        *bytes_ += data;
        position_ = size();
        return;
    }
    if (data.empty()) {
        return;
    }
    // A position beyond the end leaves no gap: the data is appended.
    const long start = std::min(position_, size());
    bytes_->replace(static_cast<std::size_t>(start), data.size(), data);
    position_ = start + static_cast<long>(data.size());
}

long ModelStream::seek(long offset, std::ios_base::seekdir direction) {
    long origin = 0;
    if (direction == std::ios_base::cur) {
        origin = position_;
    } else if (direction == std::ios_base::end) {
        origin = size();
    } else if (direction != std::ios_base::beg) {
        return -1;
    }
    // Compared without adding, because the sum may overflow.
    if (offset < -origin || offset > size() - origin) {
        return -1;
    }
    position_ = origin + offset;
    return position_;
}

} // namespace storage::inmemoryprovider::tests
