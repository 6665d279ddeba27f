#include "host/commands/StorageMove.h"

#include "host/commands/FileRemoval.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TemporaryStorageFile.h"
#include "host/storage/TreeWalk.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/transfer/CopyVerifier.h"
#include "host/transfer/StorageCopier.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>

namespace storage::host {

using provider::EntryExistence;

void StorageMove::run(const StoragePath& source, const StoragePath& target) {
    if (source.isRoot()) {
        throw CommandError(source.printed(), "the root folder cannot be moved");
    }
    requireWritableFolder(session_, source.parent());
    refuseReadOnlyFolders(session_, source);
    if (replaces(existence(session_.provider(source), source), target)) {
        refuseSameEntry(source, target);
    }
    copy(source, target);
    verify(source, target);
    removeSource(source);
    session_.imports(source).movedTo(session_.imports(target), source, target);
    if (source.contains(session_.currentFolder())) {
        session_.setCurrentFolder(session_.currentFolder().rebased(source, target));
    }
}

/// Returns whether the move replaces an existing target. Refuses a target that may not be replaced.
bool StorageMove::replaces(EntryExistence kind, const StoragePath& target) const {
    const SessionStorage& storage = session_.storageOf(target);
    const auto& provider = storage.provider();
    EntryExistence found = EntryExistence::Missing;
    storage.attribute([&] {
        found = existence(provider, target);
        if (found == EntryExistence::Missing) {
            return;
        }
        if (existing_ == Existing::Refused) {
            throw CommandError(target.printed(), "already exists");
        }
        refuseOtherKind(session_, kind, target);
        if (found == EntryExistence::Folder && provider.doListAll(target.iri())->hasNext()) {
            throw CommandError(target.printed(), "the folder is not empty");
        }
        refuseReadOnlyFile(provider, target);
    });
    return found != EntryExistence::Missing;
}

/// Two storages may be views of the same place. Removing the source would then remove the target. A temporary
/// file in the target's folder shows whether it is also the source's folder.
void StorageMove::refuseSameEntry(const StoragePath& source, const StoragePath& target) const {
    if (source.name() != target.name()) {
        return;
    }
    const SessionStorage& storage = session_.storageOf(target);
    std::optional<TemporaryStorageFile> probe;
    storage.attribute([&] { probe.emplace(storage.provider(), target); });
    const auto& provider = session_.provider(source);
    const StoragePath seen = source.parent().child(probe->path().name());
    const bool isThere = existence(provider, seen) != EntryExistence::Missing;
    probe.reset();
    if (isThere && existence(provider, seen) == EntryExistence::Missing) {
        throw CommandError(source.printed(), "source and destination are the same, " + target.printed());
    }
}

void StorageMove::copy(const StoragePath& source, const StoragePath& target) {
    const std::size_t failures = session_.console().failuresOfCommand();
    StorageCopier(session_, target, progress_).run(source, target, RootAttributes::FromSource);
    if (session_.console().failuresOfCommand() > failures) {
        throw CommandError(source.printed(),
                           "not removed, because not all of it could be copied to " + target.printed());
    }
}

void StorageMove::verify(const StoragePath& source, const StoragePath& target) {
    try {
        CopyVerifier(session_, progress_).run(source, target);
    } catch (const CommandError& error) {
        throw CommandError(error.path(),
                           std::string(error.what()) + "; " + source.printed() + " is not removed");
    }
}

void StorageMove::removeSource(const StoragePath& source) {
    const auto& provider = session_.provider(source);
    for (TreeWalk walk(provider, source); const auto step = walk.next();) {
        Interruption::check();
        switch (step->kind) {
        case TreeWalk::Step::Kind::File:
            // Also a read-only file: it can be moved.
            removeFileEvenIfReadOnly(session_, step->path);
            break;
        case TreeWalk::Step::Kind::Folder:
            walk.descend();
            break;
        case TreeWalk::Step::Kind::FolderDone:
            provider.doRemoveFolder(step->path.iri());
            session_.kept(step->path).removed(step->path);
            break;
        }
    }
}

} // namespace storage::host
