#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>
#include <cstddef>
#include <ios>
#include <limits>
#include <stdexcept>
#include <vector>

namespace foundation::storage::provider {

namespace {

constexpr std::size_t zerosAtOnce = std::size_t{64} * 1024;

/// Up to `size` bytes from the file's beginning; fewer only if the file has fewer.
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

/// Moves the position to the end of the file and returns it.
unsigned long long endOf(ByteStream& stream) {
    const auto end = static_cast<std::streamoff>(stream.seek(0, std::ios_base::end));
    if (end < 0) {
        throw std::runtime_error("the plug-in cannot seek to the end of a file");
    }
    return static_cast<unsigned long long>(end);
}

void shrinkFile(const IProvider& provider, const StorageIRI& iri, std::size_t size) {
    // Reads the remaining bytes before the file is emptied: a failed allocation here loses nothing.
    const std::vector<char> kept = readBeginning(provider, iri, size);
    const auto stream = openForWriting(
        provider, iri, {.existence = ByteStreamExistence::MustExist, .content = ByteStreamContent::Empty});
    writeAll(*stream, {kept.data(), kept.size()});
    stream->flush();
}

void growFile(const IProvider& provider, const StorageIRI& iri, unsigned long long size) {
    const auto stream = openForWriting(provider, iri, {.existence = ByteStreamExistence::MustExist});
    const std::vector<char> zeros(zerosAtOnce);
    // Seeks to the end before each block instead of appending. Otherwise two threads that grow the file could
    // make it exceed the larger of both sizes.
    for (unsigned long long end = endOf(*stream); end < size; end = endOf(*stream)) {
        writeAll(*stream, {zeros.data(), std::min<unsigned long long>(size - end, zeros.size())});
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
        growFile(*this, iri, size);
    }
}

} // namespace foundation::storage::provider
