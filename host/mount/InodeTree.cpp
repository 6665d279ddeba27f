#include "host/mount/InodeTree.h"

namespace storage::host {

InodeTree::InodeTree(const IProvider& provider, InodeGuards& guards)
    : provider_(provider), guards_(guards), root_(CompactName(), nextNumber_++) {}

InodeTree::~InodeTree() {
    for (FolderInode* folder = &root_; folder != nullptr;) {
        TreeEntry* const child = folder->children_.after(0);
        if (child == nullptr) { // the next iteration destroys the folder
            folder = folder->place_.parent;
        } else if (!child->isAlias() && child->inode().isFolder() &&
                   !static_cast<FolderInode*>(child)->children_.empty()) {
            folder = static_cast<FolderInode*>(child);
        } else {
            folder->children_.remove(*child);
        }
    }
}

} // namespace storage::host
