#include "host/validate/kit/StreamSteps.h"

#include "host/validate/kit/Expectations.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

using namespace provider;

std::unique_ptr<ByteStream> openStream(const IProvider& provider, const StorageIRI& iri,
                                       const ByteStreamOpenOptions& options) {
    return requireNonNull(provider.doOpenStream(iri, options), "stream");
}

std::unique_ptr<ByteStream> openForReading(const IProvider& provider, const StorageIRI& iri) {
    return requireNonNull(provider.doOpenReadOnlyStream(iri), "stream");
}

std::unique_ptr<ByteStream> openToAppend(const IProvider& provider, const StorageIRI& iri) {
    return openStream(provider, iri, {.append = ByteStreamAppend::AppendAtEnd});
}

void writeText(ByteStream& stream, std::string_view bytes) {
    writeAll(stream, bytes);
    stream.flush();
}

std::string readOnce(ByteStream& stream, long count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const long copied = stream.read(bytes.data(), count);
    expect(copied == -1 || (copied > 0 && copied <= count),
           fmt::format("reading {} bytes returns {}", count, copied));
    bytes.resize(copied > 0 ? static_cast<std::size_t>(copied) : 0);
    return bytes;
}

std::string readText(ByteStream& stream, std::size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(readUpTo(stream, bytes.data(), count));
    return bytes;
}

std::string readRest(ByteStream& stream) {
    constexpr std::size_t blockSize = 65536;
    std::string bytes;
    for (std::string block(blockSize, '\0'); block.size() == blockSize;) {
        block = readText(stream, blockSize);
        bytes += block;
    }
    return bytes;
}

long seekTo(ByteStream& stream, long offset, std::ios_base::seekdir direction) {
    return static_cast<long>(std::streamoff(stream.seek(offset, direction)));
}

long positionOf(ByteStream& stream) {
    return seekTo(stream, 0, std::ios_base::cur);
}

void makeFile(const IProvider& provider, const StorageIRI& iri, std::string_view bytes) {
    provider.doCreateFile(iri);
    if (!bytes.empty()) {
        writeText(*openStream(provider, iri), bytes);
    }
}

std::string contentOf(const IProvider& provider, const StorageIRI& iri) {
    return readRest(*openForReading(provider, iri));
}

} // namespace storage::host
