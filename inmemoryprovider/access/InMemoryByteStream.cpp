#include "inmemoryprovider/access/InMemoryByteStream.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/access/ContentGrowth.h"

#include <mutex>
#include <utility>

namespace storage::inmemoryprovider {

InMemoryByteStream::InMemoryByteStream(std::shared_ptr<InMemoryFileEntry> entry,
                                       provider::ByteStreamAppend append) noexcept
    : entry_(std::move(entry)), append_(append) {}

InMemoryByteStream::~InMemoryByteStream() {
    if (position_ >= hugePagesFrom) { // usual for a stream that has made the file large
        const std::lock_guard lock(*entry_->getMutex());
        trimSlack(*entry_->getContent());
    }
}

long InMemoryByteStream::read(char* buffer, long count) {
    return entry_->read(buffer, count, position_);
}

long InMemoryByteStream::write(const char* buffer, long count) {
    return entry_->write(buffer, count, position_, append_);
}

std::streampos InMemoryByteStream::seek(long offset, std::ios_base::seekdir direction) {
    return entry_->seek(offset, direction, position_);
}

void InMemoryByteStream::flush() {}

} // namespace storage::inmemoryprovider
