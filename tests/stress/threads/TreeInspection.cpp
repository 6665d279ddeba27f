#include "tests/stress/threads/TreeInspection.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/stress/threads/AnswerChecks.h"
#include "tests/stress/threads/OpenFile.h"
#include "tests/stress/threads/PathUniverse.h"

#include <memory>

namespace storage::stress {

using namespace provider;

namespace {

/// A name that the test never uses.
constexpr std::u16string_view probeName = u"probe";

Entries readAll(std::unique_ptr<IFolderEntryIterator> listing) {
    Entries entries;
    while (listing->hasNext()) {
        listing->step();
        entries.push_back(listing->getEntry());
    }
    return entries;
}

template <class Call>
bool isNotFound(const StorageIRI& iri, const Call& call) {
    try {
        call();
    } catch (const Exception& failure) {
        return failure.getErrorCode() == ErrorCode::NotFound && failure.getIRI() == iri;
    }
    return false;
}

} // namespace

void TreeInspection::run() {
    inspectFolder(std::u16string(rootPath));
    for (const auto& path : everyPath()) {
        requireUnknown(path);
    }
}

void TreeInspection::inspectFolder(const std::u16string& folder) {
    folders_.insert(folder);
    const StorageIRI iri(folder);
    provider_.doSetWritable(iri, true);
    const auto entries = readAll(provider_.doListAll(iri));
    checkEntries(folder, {}, entries);
    const auto files = readAll(provider_.doListFiles(iri));
    checkEntries(folder, {ListingShape::Kinds::Files}, files);
    const auto folders = readAll(provider_.doListFolders(iri));
    checkEntries(folder, {ListingShape::Kinds::Folders}, folders);
    requireThat(files.size() + folders.size() == entries.size(),
                "the listings of " + shown(folder) + " differ");
    for (const auto& entry : entries) {
        inspectEntry(joined(folder, entry.getName()), entry.getType());
    }
}

void TreeInspection::inspectEntry(const std::u16string& path, FolderEntry::EntryType type) {
    const StorageIRI iri(path);
    const bool isFolder = type == FolderEntry::EntryType::Folder;
    requireThat(provider_.doFolderExists(iri) == isFolder && provider_.doFileExists(iri) != isFolder,
                shown(path) + " is not of the kind that its folder lists");
    if (isFolder) {
        requireThat(!isNotFound(iri, [&] { provider_.doListAll(iri); }),
                    shown(path) + " is listed in its folder, but not found by its path");
        requireOneFolder(path);
        inspectFolder(path);
    } else {
        inspectFile(path);
    }
}

void TreeInspection::requireOneFolder(const std::u16string& folder) const {
    const StorageIRI iri(folder);
    const StorageIRI probe(joined(folder, probeName));
    const auto pastTime = recognisableTime(1900);
    provider_.doSetWritable(iri, true);
    provider_.doSetLastModified(iri, pastTime); // finds the folder in its parent
    provider_.doCreateFile(probe);              // finds the folder by its path, and stamps it
    requireThat(provider_.doGetFolderAttributes(iri).getLastModified() != pastTime,
                shown(folder) + " is one folder in its parent and another by its path");
    provider_.doRemoveFile(probe);
}

void TreeInspection::inspectFile(const std::u16string& file) {
    files_.insert(file);
    const StorageIRI iri(file);
    const auto attributes = provider_.doGetFileAttributes(iri);
    checkSize(attributes.getSize());
    checkTime(attributes.getLastModified());
    const auto read = OpenFile(provider_.doOpenReadOnlyStream(iri), OpenFile::Access::Read).readThrough();
    requireThat(read == attributes.getSize(), shown(file) + " has " + std::to_string(attributes.getSize()) +
                                                  " bytes, but a read returns " + std::to_string(read));
    bytes_ += read;
    if (isTemporary(file)) {
        removeTemporary(file);
    }
}

void TreeInspection::removeTemporary(const std::u16string& file) {
    const StorageIRI iri(file);
    provider_.doSetWritable(iri, true);
    provider_.doRemoveFile(iri);
    ++temporaryFiles_;
}

void TreeInspection::requireUnknown(const std::u16string& path) const {
    const StorageIRI iri(path);
    if (!folders_.contains(path)) {
        requireThat(!provider_.doFolderExists(iri) && isNotFound(iri, [&] { provider_.doListAll(iri); }) &&
                        isNotFound(iri, [&] { provider_.doGetFolderAttributes(iri); }),
                    shown(path) + " is a folder, but not in the tree");
    }
    if (!files_.contains(path)) {
        requireThat(!provider_.doFileExists(iri) &&
                        isNotFound(iri, [&] { provider_.doOpenReadOnlyStream(iri); }),
                    shown(path) + " is a file, but not in the tree");
    }
}

} // namespace storage::stress
