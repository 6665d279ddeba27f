#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <algorithm>
#include <cstddef>
#include <ios>
#include <memory>
#include <string>
#include <string_view>

namespace foundation::storage::provider {

/// All bytes of a file. If the file changes meanwhile, each block is as it was when it was read.
/// @param provider  the storage
/// @param iri       a file
/// @return the bytes
/// @throws Exception as `IProvider::doOpenReadOnlyStream`
/// @throws std::runtime_error when the provider returns no stream or an impossible count
/// @throws whatever the stream throws
inline std::string readFile(const IProvider& provider, const StorageIRI& iri) {
    const std::unique_ptr<ByteStream> stream = requireNonNull(provider.doOpenReadOnlyStream(iri), "stream");
    const std::streamoff expected = stream->seek(0, std::ios_base::end);
    stream->seek(0, std::ios_base::beg);
    std::string bytes;
    std::size_t size = 0;
    // One byte more than expected, so that the end is seen. A file that grows meanwhile takes further blocks.
    std::size_t block = static_cast<std::size_t>(std::max<std::streamoff>(expected, 0)) + 1;
    do {
        bytes.resize(size + block);
        size += readUpTo(*stream, bytes.data() + size, block);
        block = size;
    } while (size == bytes.size());
    bytes.resize(size);
    return bytes;
}

/// Replaces the content of a file; a missing file is created. Not atomic: a failure may leave some of the
/// bytes, and other threads see the file grow. To replace a file atomically, write another one and move it
/// there with `ReplacementPolicy::ReplaceExisting`.
/// @param provider  the storage
/// @param iri       a file, or where one is to be created
/// @param bytes     the new content
/// @throws Exception as `IProvider::doOpenStream`, with the file unchanged
/// @throws std::runtime_error when the provider returns no stream or writes a different number of bytes
/// @throws whatever the stream throws
inline void writeFile(const IProvider& provider, const StorageIRI& iri, std::string_view bytes) {
    const std::unique_ptr<ByteStream> stream =
        requireNonNull(provider.doOpenStream(iri, ByteStreamOpenOptions::createOrEmpty()), "stream");
    writeAll(*stream, bytes);
    stream->flush();
}

/// Creates a file that must not exist yet and opens it for reading and writing. If several threads create one
/// file, exactly one succeeds. Creating and opening are two steps: a file that another thread removes in
/// between is `NotFound`.
/// @param provider  the storage
/// @param iri       where nothing exists yet, in an existing folder
/// @return the stream, owned by the caller
/// @throws Exception as `IProvider::doCreateFile`
/// @throws Exception as `IProvider::doOpenStream`; the new file stays
/// @throws std::runtime_error when the provider returns no stream; the new file stays
inline std::unique_ptr<ByteStream> openNewFile(const IProvider& provider, const StorageIRI& iri) {
    provider.doCreateFile(iri);
    return requireNonNull(provider.doOpenStream(iri, ByteStreamOpenOptions::readWriteExisting()), "stream");
}

} // namespace foundation::storage::provider
