#include "host/mount/Ownership.h"

#include <sys/stat.h>

namespace storage::host {

Owner Ownership::of(const Inode& inode) const noexcept {
    return inode.rare != nullptr ? inode.rare->owner.value_or(default_) : default_;
}

Owner Ownership::ofNewIn(const Inode& folder, Owner creator) const noexcept {
    const bool passesGroupOn = (folder.attributes.permissions & S_ISGID) != 0;
    return {creator.user, passesGroupOn ? of(folder).group : creator.group};
}

bool Ownership::takesMemory(const Inode& inode, Owner owner) const noexcept {
    return owner != default_ && inode.rare == nullptr;
}

void Ownership::prepare(Inode& inode, Owner owner) const {
    if (owner != default_) {
        inode.requireRare();
    }
}

void Ownership::set(Inode& inode, Owner owner) const noexcept {
    if (owner != default_) {
        inode.rare->owner = owner;
    } else if (inode.rare != nullptr) {
        inode.rare->owner.reset();
    }
}

mode_t permissionsOfNewIn(const Inode& folder, Inode::Kind kind, mode_t permissions) noexcept {
    const mode_t inherited = kind == Inode::Kind::Folder ? folder.attributes.permissions & S_ISGID : 0;
    return permissions | inherited;
}

} // namespace storage::host
