#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <string>
#include <string_view>

// The steps that checks of streams are made of. Each throws when a stream breaks its contract.
namespace storage::host {

std::unique_ptr<foundation::storage::provider::ByteStream>
openStream(const foundation::storage::provider::IProvider& provider,
           const foundation::storage::provider::StorageIRI& iri,
           const foundation::storage::provider::ByteStreamOpenOptions& options = {});

std::unique_ptr<foundation::storage::provider::ByteStream>
openForReading(const foundation::storage::provider::IProvider& provider,
               const foundation::storage::provider::StorageIRI& iri);

/// Opens a stream whose writes go to the end.
std::unique_ptr<foundation::storage::provider::ByteStream>
openToAppend(const foundation::storage::provider::IProvider& provider,
             const foundation::storage::provider::StorageIRI& iri);

/// Writes all of it and flushes, so that other streams see it.
void writeText(foundation::storage::provider::ByteStream& stream, std::string_view bytes);

/// What a single read of at most `count` bytes gives; nothing at the end.
std::string readOnce(foundation::storage::provider::ByteStream& stream, long count);

/// All bytes from the position on.
std::string readRest(foundation::storage::provider::ByteStream& stream);

/// The answer of a seek as a number.
long seekTo(foundation::storage::provider::ByteStream& stream, long offset, std::ios_base::seekdir direction);

long positionOf(foundation::storage::provider::ByteStream& stream);

/// Makes a file with these bytes.
void makeFile(const foundation::storage::provider::IProvider& provider,
              const foundation::storage::provider::StorageIRI& iri, std::string_view bytes);

/// All bytes of a file, through a stream of its own.
std::string contentOf(const foundation::storage::provider::IProvider& provider,
                      const foundation::storage::provider::StorageIRI& iri);

} // namespace storage::host
