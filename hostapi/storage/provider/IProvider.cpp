#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/HandedOut.h"
#include "hostapi/storage/provider/WildcardPattern.h"
#include "hostapi/storage/provider/defaults/EntryList.h"
#include "hostapi/storage/provider/defaults/FolderTreeWalk.h"
#include "hostapi/storage/provider/defaults/TemporaryFile.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <stdexcept>

namespace foundation::storage::provider {

namespace {

constexpr std::size_t blockSize = std::size_t{64} * 1024;

constexpr std::u16string_view everything = u"*";

[[noreturn]] void refuseNotOffered(const StorageIRI& iri) {
    throw Exception(ErrorCode::NotOffered, iri);
}

bool isRoot(const StorageIRI& iri) {
    return !iri.hasParent() || iri.getResolvedPath() == u"/";
}

void createFolderUnlessThere(const IProvider& provider, const StorageIRI& iri) {
    if (provider.doFolderExists(iri)) {
        return;
    }
    try {
        provider.doCreateFolder(iri);
    } catch (const Exception& failure) {
        const bool madeMeanwhile =
            failure.getErrorCode() == ErrorCode::AlreadyExists && provider.doFolderExists(iri);
        if (!madeMeanwhile) {
            throw;
        }
    }
}

/// Removes what the walk has arrived at, once nothing is left in it.
void removeVisited(const IProvider& provider, const FolderTreeWalk& walk) {
    try {
        switch (walk.event()) {
        case FolderTreeWalk::Event::FileMet:
            provider.doRemoveFile(walk.location());
            break;
        case FolderTreeWalk::Event::FolderEntered:
            break;
        case FolderTreeWalk::Event::FolderLeft:
            provider.doRemoveFolder(walk.location());
            break;
        }
    } catch (const Exception& failure) {
        if (failure.getErrorCode() != ErrorCode::NotFound) {
            throw; // an entry that is gone already is just what was wanted
        }
    }
}

EntryList listRecursively(const IProvider& provider, const StorageIRI& iri, const WildcardPattern& pattern) {
    EntryList entries;
    for (FolderTreeWalk walk(provider, iri); walk.advance();) {
        if (walk.event() != FolderTreeWalk::Event::FolderLeft && pattern.matches(walk.name())) {
            entries.emplace_back(walk.relativePath(), walk.event() == FolderTreeWalk::Event::FileMet
                                                          ? FolderEntry::EntryType::File
                                                          : FolderEntry::EntryType::Folder);
        }
    }
    return entries;
}

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
    long count = 0;
    while ((count = from.read(block.data(), static_cast<long>(block.size()))) > 0) {
        to.write(block.data(), count);
        copied += static_cast<unsigned long>(count);
        if (progress) {
            progress(copied);
        }
    }
    to.flush();
}

void copyFile(const IProvider& provider, const StorageIRI& source, const StorageIRI& destination,
              const ReplacementPolicy& policy, const IProvider::CopyProgress& progress) {
    std::unique_ptr<ByteStream> from = handedOut(provider.doOpenReadOnlyStream(source), "stream");
    refuseOccupied(provider, destination, policy);
    TemporaryFile copy(provider, destination, source);
    copyBytes(*from, *copy.open(), progress);
    from.reset(); // source and destination may be one file
    copy.moveIntoPlace(policy);
}

/// Up to `size` bytes from the file's beginning; fewer only when the file has fewer.
std::vector<char> readBeginning(const IProvider& provider, const StorageIRI& iri, std::size_t size) {
    std::vector<char> bytes(size);
    const auto stream = handedOut(provider.doOpenReadOnlyStream(iri), "stream");
    std::size_t filled = 0;
    while (filled < size) {
        const long count = stream->read(bytes.data() + filled, static_cast<long>(size - filled));
        if (count <= 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

std::unique_ptr<ByteStream> openForWriting(const IProvider& provider, const StorageIRI& iri,
                                           const ByteStreamOpenOptions& options) {
    return handedOut(provider.doOpenStream(iri, options), "stream");
}

void shrinkFile(const IProvider& provider, const StorageIRI& iri, std::size_t size) {
    // The bytes that stay are in memory before the file is emptied: running out of memory here loses nothing.
    const std::vector<char> kept = readBeginning(provider, iri, size);
    const auto stream = openForWriting(
        provider, iri, {.existence = ByteStreamExistence::MustExist, .content = ByteStreamContent::Empty});
    stream->write(kept.data(), static_cast<long>(kept.size()));
    stream->flush();
}

void growFile(const IProvider& provider, const StorageIRI& iri, unsigned long long missing) {
    const auto stream = openForWriting(
        provider, iri,
        {.existence = ByteStreamExistence::MustExist, .append = ByteStreamAppend::AppendAtEnd});
    const std::vector<char> zeros(blockSize);
    while (missing > 0) {
        const auto count = std::min<unsigned long long>(missing, zeros.size());
        stream->write(zeros.data(), static_cast<long>(count));
        missing -= count;
    }
    stream->flush();
}

} // namespace

// The binary interface hands over patterns and callbacks by value, so that overriding providers may keep
// them.

// NOLINTBEGIN(performance-unnecessary-value-param)

IProvider::~IProvider() = default;

void IProvider::doCreateFolderRecursive(const StorageIRI& iri) const {
    if (doFolderExists(iri)) {
        return;
    }
    const std::u16string& path = iri.getResolvedPath();
    // What is before a separator at the very beginning is the root, which is always there.
    for (std::size_t end = path.find(u'/', 1); end != std::u16string::npos; end = path.find(u'/', end + 1)) {
        createFolderUnlessThere(*this, StorageIRI(path.substr(0, end)));
    }
    createFolderUnlessThere(*this, iri);
}

void IProvider::doRemoveFolderRecursively(const StorageIRI& iri) const {
    for (FolderTreeWalk walk(*this, iri); walk.advance();) {
        removeVisited(*this, walk);
    }
    if (!isRoot(iri)) {
        doRemoveFolder(iri);
    }
}

std::unique_ptr<ByteStream> IProvider::doOpenTransactionalStream(const StorageIRI& iri,
                                                                 const ByteStreamOpenOptions&) const {
    refuseNotOffered(iri);
}

std::unique_ptr<ByteStream>
IProvider::doOpenTransactionalStreamAtScratchLocation(const StorageIRI& iri, const StorageIRI&,
                                                      const ByteStreamOpenOptions&) const {
    refuseNotOffered(iri);
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllWildcards(const StorageIRI& iri,
                                                                    std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListAll(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListFilesWildcards(const StorageIRI& iri,
                                                                      std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListFiles(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListFoldersWildcards(const StorageIRI& iri,
                                                                        std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListFolders(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListAllNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListAll(iri)));
}

std::vector<std::u16string> IProvider::doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                                   std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListAll(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListFoldersNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListFolders(iri)));
}

std::vector<std::u16string> IProvider::doListFoldersNamesOnlyWildcards(const StorageIRI& iri,
                                                                       std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListFolders(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListFilesNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListFiles(iri)));
}

std::vector<std::u16string> IProvider::doListFilesNamesOnlyWildcards(const StorageIRI& iri,
                                                                     std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListFiles(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllRecursive(const StorageIRI& iri) const {
    return listingOf(listRecursively(*this, iri, WildcardPattern(everything)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllRecursiveWildcards(const StorageIRI& iri,
                                                                             std::u16string pattern) const {
    return listingOf(listRecursively(*this, iri, WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListAllRecursiveNamesOnly(const StorageIRI& iri) const {
    return namesOf(listRecursively(*this, iri, WildcardPattern(everything)));
}

std::vector<std::u16string> IProvider::doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                                            std::u16string pattern) const {
    return namesOf(listRecursively(*this, iri, WildcardPattern(pattern)));
}

void IProvider::doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                           const ReplacementPolicy& policy) const {
    copyFile(*this, source, destination, policy, CopyProgress());
}

void IProvider::doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                                 const ReplacementPolicy& policy, CopyProgress progress) const {
    copyFile(*this, source, destination, policy, progress);
}

void IProvider::doPublishFolderEventsFor(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doPublishFileEventsFor(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doStopPublishingEventsFor(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

void IProvider::doStartChangePollingMechanism(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doStopChangePollingMechanism(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

IProvider::PathComparator IProvider::doGetPathComparator(const StorageIRI&) const {
    return std::less<>();
}

StorageIRI IProvider::doGetCanonicalLocation(const StorageIRI& iri) const {
    return StorageIRI(isRoot(iri) ? std::u16string(u"/") : iri.getResolvedPath());
}

FilenameSensitivity IProvider::doGetFilenameSensitivity(const StorageIRI&) const {
    return FilenameSensitivity::CaseSensitive;
}

void IProvider::doShutdown() {}

bool IProvider::doExists(const StorageIRI& iri) const {
    return doFileExists(iri) || doFolderExists(iri);
}

EntryExistence IProvider::doExistsExtended(const StorageIRI& iri) const {
    if (doFileExists(iri)) {
        return EntryExistence::File;
    }
    return doFolderExists(iri) ? EntryExistence::Folder : EntryExistence::Missing;
}

ExtendedAttributes IProvider::doGetExtendedAttributes(const StorageIRI& iri) const {
    if (doFolderExists(iri)) {
        const FolderAttributes folder = doGetFolderAttributes(iri);
        return {FolderEntry::EntryType::Folder, 0, folder.getLastModified(), folder.isWritable()};
    }
    const FileAttributes file = doGetFileAttributes(iri);
    return {FolderEntry::EntryType::File, file.getSize(), file.getLastModified(), file.isWritable()};
}

ProviderStorageInfo IProvider::doGetProviderStorageInfo(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

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

// NOLINTEND(performance-unnecessary-value-param)

} // namespace foundation::storage::provider
