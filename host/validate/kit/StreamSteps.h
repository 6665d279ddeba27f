#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <string>
#include <string_view>

// Helpers of checks for streams and the bytes of files. Each throws when a stream breaks its contract.
namespace storage::host {

std::unique_ptr<foundation::storage::provider::ByteStream>
openStream(const foundation::storage::provider::IProvider& provider,
           const foundation::storage::provider::StorageIRI& iri,
           const foundation::storage::provider::ByteStreamOpenOptions& options = {});

std::unique_ptr<foundation::storage::provider::ByteStream>
openForReading(const foundation::storage::provider::IProvider& provider,
               const foundation::storage::provider::StorageIRI& iri);

/// Opens a stream that appends all writes.
std::unique_ptr<foundation::storage::provider::ByteStream>
openToAppend(const foundation::storage::provider::IProvider& provider,
             const foundation::storage::provider::StorageIRI& iri);

/// Writes all bytes and flushes, so that other streams see them.
void writeText(foundation::storage::provider::ByteStream& stream, std::string_view bytes);

/// The bytes of a single read of at most `count` bytes; empty at the end of the file.
std::string readOnce(foundation::storage::provider::ByteStream& stream, long count);

/// The next `count` bytes, or all up to the end, by as many reads as are needed.
std::string readText(foundation::storage::provider::ByteStream& stream, std::size_t count);

/// All bytes from the current position on.
std::string readRest(foundation::storage::provider::ByteStream& stream);

/// @return the position that the seek returns, as a number
long seekTo(foundation::storage::provider::ByteStream& stream, long offset, std::ios_base::seekdir direction);

long positionOf(foundation::storage::provider::ByteStream& stream);

/// Creates a file with these bytes.
void makeFile(const foundation::storage::provider::IProvider& provider,
              const foundation::storage::provider::StorageIRI& iri, std::string_view bytes);

/// All bytes of a file, read through a new stream.
std::string contentOf(const foundation::storage::provider::IProvider& provider,
                      const foundation::storage::provider::StorageIRI& iri);

} // namespace storage::host
