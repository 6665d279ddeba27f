#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

namespace foundation::storage::provider {

namespace {

constexpr std::size_t zerosAtOnce = std::size_t{64} * 1024;

/// Up to `size` bytes from the file's beginning; fewer only when the file has fewer.
std::vector<char> readBeginning(const IProvider& provider, const StorageIRI& iri, std::size_t size) {
    std::vector<char> bytes(size);
    const auto stream = requireNonNull(provider.doOpenReadOnlyStream(iri), "stream");
    bytes.resize(readUpTo(*stream, bytes.data(), size));
    return bytes;
}

std::unique_ptr<ByteStream> openForWriting(const IProvider& provider, const StorageIRI& iri,
                                           const ByteStreamOpenOptions& options) {
    return requireNonNull(provider.doOpenStream(iri, options), "stream");
}

void shrinkFile(const IProvider& provider, const StorageIRI& iri, std::size_t size) {
    // The bytes that stay are in memory before the file is emptied: running out of memory here loses nothing.
    const std::vector<char> kept = readBeginning(provider, iri, size);
    const auto stream = openForWriting(
        provider, iri, {.existence = ByteStreamExistence::MustExist, .content = ByteStreamContent::Empty});
    writeAll(*stream, {kept.data(), kept.size()});
    stream->flush();
}

void growFile(const IProvider& provider, const StorageIRI& iri, unsigned long long missing) {
    const auto stream = openForWriting(
        provider, iri,
        {.existence = ByteStreamExistence::MustExist, .append = ByteStreamAppend::AppendAtEnd});
    const std::vector<char> zeros(zerosAtOnce);
    while (missing > 0) {
        const std::size_t count = std::min<unsigned long long>(missing, zeros.size());
        writeAll(*stream, {zeros.data(), count});
        missing -= count;
    }
    stream->flush();
}

} // namespace

void IProvider::doTruncateToSize(const StorageIRI& iri, unsigned long long size) const {
    const unsigned long currentSize = doGetFileAttributes(iri).getSize();
    if (size > static_cast<unsigned long long>(std::numeric_limits<long>::max())) {
        throw std::length_error("a file cannot have that many bytes");
    }
    if (size < currentSize) {
        shrinkFile(*this, iri, static_cast<std::size_t>(size));
    } else {
        growFile(*this, iri, size - currentSize);
    }
}

} // namespace foundation::storage::provider
