#include "host/mount/MountedExtendedAttributes.h"

#include "host/mount/ErrnoError.h"
#include "host/mount/KernelTime.h"
#include "host/mount/LockedTree.h"

#include <cerrno>

namespace storage::host {

void MountedExtendedAttributes::set(Inode& inode, std::string_view name, std::string_view value, int flags) {
    ExtendedAttributeSet::requireName(name);
    const StorageSpace::Turn turn(space_);
    space_.require(name.size() + value.size() + ExtendedAttributeSet::overhead);
    const SharedTree tree(tree_);
    const auto held = guards_.hold(inode);
    tree.loadAttributes(inode, held);
    inode.requireRare().extended.set(name, value, flags);
    inode.attributes.changed = kernelTime();
}

std::string MountedExtendedAttributes::get(const Inode& inode, std::string_view name) {
    ExtendedAttributeSet::requireName(name);
    const auto held = guards_.hold(inode);
    if (inode.rare == nullptr) {
        throw ErrnoError(ENODATA);
    }
    return inode.rare->extended.get(name);
}

std::string MountedExtendedAttributes::list(const Inode& inode, ExtendedAttributeSet::Names wanted) {
    const auto held = guards_.hold(inode);
    return inode.rare == nullptr ? std::string() : inode.rare->extended.list(wanted);
}

void MountedExtendedAttributes::remove(Inode& inode, std::string_view name) {
    ExtendedAttributeSet::requireName(name);
    const SharedTree tree(tree_);
    const auto held = guards_.hold(inode);
    tree.loadAttributes(inode, held);
    if (inode.rare == nullptr) {
        throw ErrnoError(ENODATA);
    }
    inode.rare->extended.remove(name);
    inode.attributes.changed = kernelTime();
    space_.noteRemoval();
}

} // namespace storage::host
