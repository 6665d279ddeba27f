#include "host/mount/FolderMove.h"

#include "host/mount/ErrnoError.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>
#include <utility>

namespace storage::host {

using provider::FileAttributes;
using provider::FolderAttributes;
using provider::FolderEntry;
using provider::ReplacementPolicy;
using provider::requireNonNull;
using provider::StorageIRI;

namespace {

StorageIRI inside(const StorageIRI& folder, const std::u16string& below) {
    return StorageIRI(folder.getPath() + below);
}

/// Runs a cleanup step. Ignores a failure, so that the next steps run.
template <typename Step>
void attempt(const Step& step) noexcept {
    try {
        step();
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace

FolderMove::FolderMove(const IProvider& provider, StorageIRI source, StorageIRI destination)
    : provider_(provider),
      source_(std::move(source)),
      destination_(std::move(destination)),
      replaces_(provider.doFolderExists(destination_)) {
    if (replaces_ && requireNonNull(provider.doListAll(destination_), "listing")->hasNext()) {
        throw ErrnoError(ENOTEMPTY);
    }
    record({}, true);
    // NOLINTNEXTLINE(modernize-loop-convert): the loop appends elements
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].isFolder) {
            recordChildren(std::u16string(entries_[i].below));
        }
    }
}

void FolderMove::run() {
    try {
        makeFoldersWritable();
        provider_.doMoveFolder(source_, destination_, ReplacementPolicy::ReplaceExisting);
    } catch (...) {
        moveBack();
        restoreAttributes(source_);
        throw;
    }
    restoreAttributes(destination_);
}

void FolderMove::record(std::u16string below, bool isFolder) {
    const StorageIRI location = inside(source_, below);
    if (isFolder) {
        const FolderAttributes folder = provider_.doGetFolderAttributes(location);
        entries_.push_back({std::move(below), isFolder, folder.isWritable(), folder.getLastModified()});
    } else {
        const FileAttributes file = provider_.doGetFileAttributes(location);
        entries_.push_back({std::move(below), isFolder, file.isWritable(), file.getLastModified()});
    }
}

void FolderMove::recordChildren(const std::u16string& below) {
    const auto listing = requireNonNull(provider_.doListAll(inside(source_, below)), "listing");
    while (listing->hasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        record(below + u'/' + entry.getName(), entry.getType() == FolderEntry::EntryType::Folder);
    }
}

void FolderMove::makeFoldersWritable() const {
    for (const Entry& entry : entries_) {
        if (entry.isFolder && !entry.writable) {
            provider_.doSetWritable(inside(source_, entry.below), true);
        }
    }
}

/// Moves back what has arrived, each folder before its content. Then removes the emptied folders.
void FolderMove::moveBack() const {
    for (const Entry& entry : entries_) {
        attempt([&] {
            const StorageIRI old = inside(source_, entry.below);
            const StorageIRI moved = inside(destination_, entry.below);
            if (!entry.isFolder && provider_.doFileExists(moved)) {
                provider_.doMoveFile(moved, old, ReplacementPolicy::RefuseExisting);
            } else if (entry.isFolder && !provider_.doFolderExists(old)) {
                provider_.doCreateFolder(old);
            }
        });
    }
    // NOLINTNEXTLINE(modernize-loop-convert): clang 14 has no view for that
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        attempt([&] {
            const bool staysThere = entry->below.empty() && replaces_;
            const StorageIRI moved = inside(destination_, entry->below);
            if (entry->isFolder && !staysThere && provider_.doFolderExists(moved)) {
                provider_.doRemoveFolder(moved);
            }
        });
    }
    attempt([&] {
        if (replaces_ && !provider_.doFolderExists(destination_)) {
            provider_.doCreateFolder(destination_);
        }
    });
}

void FolderMove::restoreAttributes(const StorageIRI& folder) const noexcept {
    for (const Entry& entry : entries_) {
        attempt([&] {
            const StorageIRI location = inside(folder, entry.below);
            provider_.doSetLastModified(location, entry.modified);
            if (entry.isFolder && !entry.writable) {
                provider_.doSetWritable(location, false);
            }
        });
    }
}

} // namespace storage::host
