#pragma once

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/ByteStreamTransfer.h>

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/positioning.hpp>

#include <cstddef>
#include <ios>
#include <memory>
#include <utility>

/// What makes a C++ stream of a `ByteStream`: `boost::iostreams::stream<ByteStreamDevice>` reads, writes and seeks in a file
/// of a storage. Needs nothing but headers of Boost.
///
/// Copies share the stream, for Boost copies its devices.
// [device]
class ByteStreamDevice {
public:
    using ByteStream = foundation::storage::provider::ByteStream;
    using char_type = char;
    using category = boost::iostreams::seekable_device_tag; // reads and writes share one position

    explicit ByteStreamDevice(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {}

    std::streamsize read(char* buffer, std::streamsize count) {
        return stream_->read(buffer, static_cast<long>(count)); // -1 at the end, as Boost wants it too
    }

    std::streamsize write(const char* buffer, std::streamsize count) {
        writeAll(*stream_, {buffer, static_cast<std::size_t>(count)}); // or throws
        return count;
    }

    std::streampos seek(boost::iostreams::stream_offset offset, std::ios_base::seekdir direction) {
        const std::streampos position = stream_->seek(static_cast<long>(offset), direction);
        if (position == std::streampos(std::streamoff(-1))) {
            throw std::ios_base::failure("a position outside the file");
        }
        return position;
    }

private:
    std::shared_ptr<ByteStream> stream_;
};
// [device]
