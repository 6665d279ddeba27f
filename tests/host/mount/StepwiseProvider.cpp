#include "tests/host/mount/StepwiseProvider.h"

using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::ReplacementPolicy;

void StepwiseProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to,
                                    const Policy& policy) const {
    before("moveFolder", from);
    if (doFolderExists(to)) {
        doRemoveFolder(to);
    }
    doCreateFolder(to);
    for (const auto entries = doListAll(from); entries->hasNext();) {
        entries->step();
        const FolderEntry entry = entries->getEntry();
        const StorageIRI old(from.getPath() + u'/' + entry.getName());
        const StorageIRI moved(to.getPath() + u'/' + entry.getName());
        if (entry.getType() == FolderEntry::EntryType::Folder) {
            doMoveFolder(old, moved, policy);
        } else {
            doMoveFile(old, moved, ReplacementPolicy::RefuseExisting);
        }
    }
    doRemoveFolder(from);
}
