#include "host/storage/ByteStreamDevice.h"

#include "hostapi/storage/provider/RequireNonNull.h"

#include <stdexcept>

namespace storage::host {

using foundation::storage::provider::ByteStream;
using foundation::storage::provider::requireNonNull;

ByteStreamDevice::ByteStreamDevice(std::unique_ptr<ByteStream> stream)
    : stream_(requireNonNull(std::move(stream), "stream")) {}

std::streamsize ByteStreamDevice::read(char* buffer, std::streamsize count) {
    std::streamsize done = 0;
    while (done < count) {
        const long got = stream_->read(buffer + done, static_cast<long>(count - done));
        if (got <= 0) {
            break;
        }
        if (got > count - done) {
            throw std::runtime_error("the plug-in read more bytes than it was asked for");
        }
        done += got;
    }
    return done == 0 ? -1 : done;
}

std::streamsize ByteStreamDevice::write(const char* buffer, std::streamsize count) {
    std::streamsize done = 0;
    while (done < count) {
        const long written = stream_->write(buffer + done, static_cast<long>(count - done));
        if (written <= 0) {
            throw std::runtime_error("the storage takes no more bytes");
        }
        done += written;
    }
    return done;
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
