#pragma once

#include "host/validate/kit/Expectations.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>
#include <memory>
#include <string>
#include <string_view>

// Functions for streams and the bytes of files. Each throws when a stream breaks its contract.
namespace storage::host {

using provider::ByteStream;
using provider::IProvider;
using provider::StorageIRI;

inline std::unique_ptr<ByteStream> openStream(const IProvider& provider, const StorageIRI& iri,
                                              const provider::ByteStreamOpenOptions& options = {}) {
    return provider::requireNonNull(provider.doOpenStream(iri, options), "stream");
}

inline std::unique_ptr<ByteStream> openForReading(const IProvider& provider, const StorageIRI& iri) {
    return provider::requireNonNull(provider.doOpenReadOnlyStream(iri), "stream");
}

/// Opens a stream that appends every write.
inline std::unique_ptr<ByteStream> openToAppend(const IProvider& provider, const StorageIRI& iri) {
    return openStream(provider, iri, {.append = provider::ByteStreamAppend::AppendAtEnd});
}

/// Writes all bytes and flushes, so that other streams see them.
inline void writeText(ByteStream& stream, std::string_view bytes) {
    provider::writeAll(stream, bytes);
    stream.flush();
}

/// The bytes of a single read of at most `count` bytes; empty at the end of the file.
inline std::string readOnce(ByteStream& stream, long count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const long copied = stream.read(bytes.data(), count);
    expect(copied == -1 || (copied > 0 && copied <= count),
           fmt::format("reading {} bytes returns {}", count, copied));
    bytes.resize(copied > 0 ? static_cast<std::size_t>(copied) : 0);
    return bytes;
}

/// The next `count` bytes, or all bytes to the end of the file. Reads as often as necessary.
inline std::string readText(ByteStream& stream, std::size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(provider::readUpTo(stream, bytes.data(), count));
    return bytes;
}

/// All bytes from the current position to the end.
inline std::string readRest(ByteStream& stream) {
    constexpr std::size_t blockSize = 65536;
    std::string bytes;
    for (std::string block(blockSize, '\0'); block.size() == blockSize;) {
        block = readText(stream, blockSize);
        bytes += block;
    }
    return bytes;
}

/// @return the return value of the seek, as a number
inline long seekTo(ByteStream& stream, long offset, std::ios_base::seekdir direction) {
    return static_cast<long>(std::streamoff(stream.seek(offset, direction)));
}

inline long positionOf(ByteStream& stream) {
    return seekTo(stream, 0, std::ios_base::cur);
}

/// Creates a file with these bytes.
inline void makeFile(const IProvider& provider, const StorageIRI& iri, std::string_view bytes) {
    provider.doCreateFile(iri);
    if (!bytes.empty()) {
        writeText(*openStream(provider, iri), bytes);
    }
}

/// All bytes of a file, read through a new stream.
inline std::string contentOf(const IProvider& provider, const StorageIRI& iri) {
    return readRest(*openForReading(provider, iri));
}

} // namespace storage::host
