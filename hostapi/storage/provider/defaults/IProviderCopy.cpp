#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/defaults/TemporaryFile.h"

#include <cstddef>
#include <vector>

namespace foundation::storage::provider {

namespace {

constexpr std::size_t blockSize = std::size_t{64} * 1024;

bool refusesExistingFile(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting || policy == ReplacementPolicy::RefuseExistingFile;
}

/// Refuses early what the final move would refuse too, so that no bytes are copied in vain.
void refuseOccupied(const IProvider& provider, const StorageIRI& destination, ReplacementPolicy policy) {
    if (provider.doFolderExists(destination) ||
        (refusesExistingFile(policy) && provider.doFileExists(destination))) {
        throw Exception(ErrorCode::AlreadyExists, destination);
    }
}

void copyBytes(ByteStream& from, ByteStream& to, const IProvider::CopyProgress& progress) {
    std::vector<char> block(blockSize);
    unsigned long long copied = 0;
    std::size_t count = 0;
    while ((count = readUpTo(from, block.data(), block.size())) > 0) {
        writeAll(to, {block.data(), count});
        copied += count;
        if (progress) {
            progress(copied);
        }
    }
    to.flush();
}

void copyFile(const IProvider& provider, const StorageIRI& source, const StorageIRI& destination,
              const ReplacementPolicy& policy, const IProvider::CopyProgress& progress) {
    std::unique_ptr<ByteStream> from = requireNonNull(provider.doOpenReadOnlyStream(source), "stream");
    refuseOccupied(provider, destination, policy);
    TemporaryFile copy(provider, destination, source);
    copyBytes(*from, *copy.open(), progress);
    from.reset(); // source and destination may be one file
    copy.moveIntoPlace(policy);
}

} // namespace

// By value in the binary interface, so that an overriding provider may keep them.
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
