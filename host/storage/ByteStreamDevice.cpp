#include "host/storage/ByteStreamDevice.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <cstddef>

namespace storage::host {

using foundation::storage::provider::ByteStream;
using foundation::storage::provider::requireNonNull;

ByteStreamDevice::ByteStreamDevice(std::unique_ptr<ByteStream> stream)
    : stream_(requireNonNull(std::move(stream), "stream")) {}

std::streamsize ByteStreamDevice::read(char* buffer, std::streamsize count) {
    const std::size_t done = readUpTo(*stream_, buffer, static_cast<std::size_t>(count));
    return done == 0 ? -1 : static_cast<std::streamsize>(done);
}

std::streamsize ByteStreamDevice::write(const char* buffer, std::streamsize count) {
    writeAll(*stream_, {buffer, static_cast<std::size_t>(count)});
    return count;
}

std::streampos ByteStreamDevice::seek(boost::iostreams::stream_offset offset,
                                      std::ios_base::seekdir direction) {
    const std::streampos position = stream_->seek(static_cast<long>(offset), direction);
    if (position == std::streampos(std::streamoff(-1))) {
        throw std::ios_base::failure("a position outside the file");
    }
    return position;
}

} // namespace storage::host
