#pragma once

#include "host/mount/ExtendedAttributeSet.h"
#include "host/mount/InodeTree.h"
#include "host/mount/StorageSpace.h"

#include <string>
#include <string_view>

namespace storage::host {

/// Implements setxattr(2), getxattr(2), listxattr(2) and removexattr(2). The kernel has already checked which
/// names are allowed on which kinds of entries.
///
/// Borrows tree, guards and space. Acquires the locks itself. Thread-safe.
class MountedExtendedAttributes {
public:
    MountedExtendedAttributes(InodeTree& tree, InodeGuards& guards, StorageSpace& space)
        : tree_(tree), guards_(guards), space_(space) {}

    /// @throws ErrnoError as `ExtendedAttributeSet::set`; also ENOSPC when there is no space, with nothing
    ///     changed
    void set(Inode& inode, std::string_view name, std::string_view value, int flags);
    std::string get(const Inode& inode, std::string_view name);
    std::string list(const Inode& inode, ExtendedAttributeSet::Names wanted);
    void remove(Inode& inode, std::string_view name);

private:
    InodeTree& tree_;
    InodeGuards& guards_;
    StorageSpace& space_;
};

} // namespace storage::host
