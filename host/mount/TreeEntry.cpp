#include "host/mount/TreeEntry.h"

#include "host/mount/Alias.h"

namespace storage::host {

Inode& TreeEntry::inode() noexcept {
    return isAlias() ? static_cast<Alias&>(*this).inode_ : static_cast<Inode&>(*this);
}

const Inode& TreeEntry::inode() const noexcept {
    return isAlias() ? static_cast<const Alias&>(*this).inode_ : static_cast<const Inode&>(*this);
}

} // namespace storage::host
