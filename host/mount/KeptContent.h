#pragma once

#include "host/mount/FileContents.h"

namespace storage::host {

/// Detaches a file's bytes while its entry is being removed, and attaches them again unless that succeeds.
///
/// Borrows the contents. Needs the tree's lock, alone, as long as it lives. Thread safety: for one thread.
class KeptContent {
public:
    /// @param inode  the entry to be removed; a folder has no bytes
    KeptContent(FileContents& contents, Inode& inode)
        : contents_(contents), file_(inode.isFolder() ? nullptr : &static_cast<FileInode&>(inode)) {
        if (file_ != nullptr) {
            contents_.detach(*file_);
        }
    }
    ~KeptContent() {
        if (file_ != nullptr) {
            contents_.attach(*file_);
        }
    }
    KeptContent(const KeptContent&) = delete;
    KeptContent& operator=(const KeptContent&) = delete;

    /// The entry has been removed.
    void keep() noexcept { file_ = nullptr; }

private:
    FileContents& contents_;
    FileInode* file_;
};

} // namespace storage::host
