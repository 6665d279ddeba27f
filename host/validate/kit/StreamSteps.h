#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <string>
#include <string_view>

// Functions for streams and the bytes of files. Each throws when a stream breaks its contract.
namespace storage::host {

std::unique_ptr<provider::ByteStream> openStream(const provider::IProvider& provider,
                                                 const provider::StorageIRI& iri,
                                                 const provider::ByteStreamOpenOptions& options = {});

std::unique_ptr<provider::ByteStream> openForReading(const provider::IProvider& provider,
                                                     const provider::StorageIRI& iri);

/// Opens a stream that appends every write.
std::unique_ptr<provider::ByteStream> openToAppend(const provider::IProvider& provider,
                                                   const provider::StorageIRI& iri);

/// Writes all bytes and flushes, so that other streams see them.
void writeText(provider::ByteStream& stream, std::string_view bytes);

/// The bytes of a single read of at most `count` bytes; empty at the end of the file.
std::string readOnce(provider::ByteStream& stream, long count);

/// The next `count` bytes, or all bytes to the end of the file. Reads as often as necessary.
std::string readText(provider::ByteStream& stream, std::size_t count);

/// All bytes from the current position to the end.
std::string readRest(provider::ByteStream& stream);

/// @return the return value of the seek, as a number
long seekTo(provider::ByteStream& stream, long offset, std::ios_base::seekdir direction);

long positionOf(provider::ByteStream& stream);

/// Creates a file with these bytes.
void makeFile(const provider::IProvider& provider, const provider::StorageIRI& iri, std::string_view bytes);

/// All bytes of a file, read through a new stream.
std::string contentOf(const provider::IProvider& provider, const provider::StorageIRI& iri);

} // namespace storage::host
