#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/defaults/TemporaryFile.h"

#include <algorithm>
#include <cstddef>
#include <ios>
#include <stdexcept>
#include <vector>

namespace foundation::storage::provider {

namespace {

constexpr std::size_t blockSize = std::size_t{64} * 1024;

bool refusesExistingFile(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting || policy == ReplacementPolicy::RefuseExistingFile;
}

bool isReadOnlyFile(const IProvider& provider, const StorageIRI& iri) {
    try {
        return provider.doFileExists(iri) && !provider.doGetFileAttributes(iri).isWritable();
    } catch (const Exception& failure) {
        if (failure.getErrorCode() != ErrorCode::NotFound) {
            throw;
        }
        return false; // another thread has removed it
    }
}

/// Checks what the final move would refuse too, before any bytes are copied.
void refuseOccupied(const IProvider& provider, const StorageIRI& source, const StorageIRI& destination,
                    ReplacementPolicy policy) {
    if (provider.doFolderExists(destination) ||
        (refusesExistingFile(policy) && provider.doFileExists(destination))) {
        throw Exception(ErrorCode::AlreadyExists, destination);
    }
    if (isReadOnlyFile(provider, destination)) {
        throw Exception(ErrorCode::ReadOnly, source);
    }
}

/// The size of the file. Moves the position back to the beginning.
unsigned long long sizeOf(ByteStream& stream) {
    const auto size = static_cast<std::streamoff>(stream.seek(0, std::ios_base::end));
    if (size < 0 || stream.seek(0, std::ios_base::beg) != 0) {
        throw std::runtime_error("the plug-in cannot seek within a file");
    }
    return static_cast<unsigned long long>(size);
}

/// Copies at most the initial size: the file may grow as fast as it is copied.
void copyBytes(ByteStream& from, ByteStream& to, const IProvider::CopyProgress& progress) {
    const unsigned long long size = sizeOf(from);
    std::vector<char> block(blockSize);
    unsigned long long copied = 0;
    std::size_t count = 0;
    do {
        count = readUpTo(from, block.data(), std::min<unsigned long long>(block.size(), size - copied));
        writeAll(to, {block.data(), count});
        copied += count;
        if (progress && (count > 0 || copied == 0)) {
            progress(copied);
        }
    } while (count > 0 && copied < size);
    to.flush();
}

void copyFile(const IProvider& provider, const StorageIRI& source, const StorageIRI& destination,
              const ReplacementPolicy& policy, const IProvider::CopyProgress& progress) {
    std::unique_ptr<ByteStream> from = requireNonNull(provider.doOpenReadOnlyStream(source), "stream");
    refuseOccupied(provider, source, destination, policy);
    TemporaryFile copy(provider, destination, source);
    copyBytes(*from, *copy.open(), progress);
    from.reset(); // source and destination may be the same file
    copy.moveIntoPlace(policy);
}

} // namespace

// The ABI passes callbacks and patterns by value, so that an override may keep them.
// NOLINTBEGIN(performance-unnecessary-value-param)

void IProvider::doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                           const ReplacementPolicy& policy) const {
    copyFile(*this, source, destination, policy, CopyProgress());
}

void IProvider::doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                                 const ReplacementPolicy& policy, CopyProgress progress) const {
    copyFile(*this, source, destination, policy, progress);
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace foundation::storage::provider
