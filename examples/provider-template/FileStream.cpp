#include "FileStream.h"

#include <algorithm>
#include <utility>

namespace provider_template {

FileStream::FileStream(std::shared_ptr<FileBytes> file, ByteStreamAppend append)
    : file_(std::move(file)), append_(append) {}

long FileStream::read(char* buffer, long count) {
    const std::lock_guard<std::mutex> lock(file_->mutex);
    const std::vector<char>& bytes = file_->bytes;
    if (count <= 0 || position_ >= bytes.size()) {
        return -1; // the end is not an error
    }
    const std::size_t copied = std::min(bytes.size() - position_, static_cast<std::size_t>(count));
    std::copy_n(bytes.data() + position_, copied, buffer);
    position_ += copied;
    return static_cast<long>(copied);
}

// [write]
long FileStream::write(const char* buffer, long count) {
    if (count <= 0) {
        return count;
    }
    // Locked throughout, so that records of two appending streams never mix.
    const std::lock_guard<std::mutex> lock(file_->mutex);
    std::vector<char>& bytes = file_->bytes;
    const bool appends = append_ == ByteStreamAppend::AppendAtEnd;
    const std::size_t begin = appends ? bytes.size() : std::min(position_, bytes.size());
    const std::size_t end = begin + static_cast<std::size_t>(count);
    if (end > bytes.size()) {
        bytes.resize(end); // if it throws, the file is unchanged: no byte has been overwritten
    }
    std::copy_n(buffer, count, bytes.data() + begin);
    position_ = end;
    return count;
}
// [write]

std::streampos FileStream::seek(long offset, std::ios_base::seekdir direction) {
    const std::lock_guard<std::mutex> lock(file_->mutex);
    const long size = static_cast<long>(file_->bytes.size());
    long origin = 0;
    if (direction == std::ios_base::cur) {
        origin = static_cast<long>(position_);
    } else if (direction == std::ios_base::end) {
        origin = size;
    } else if (direction != std::ios_base::beg) {
        return std::streamoff(-1);
    }
    if (offset < -origin || offset > size - origin) {
        return std::streamoff(-1); // outside the file; the position is unchanged
    }
    position_ = static_cast<std::size_t>(origin + offset);
    return origin + offset;
}

void FileStream::flush() {} // no buffers

} // namespace provider_template
