#pragma once

#include "host/disk/FileDescriptor.h"

#include <functional>
#include <optional>
#include <sys/types.h>

namespace storage::host {

/// An open folder of the disk whose entries are changed. It stays the same folder whatever becomes of its path.
///
/// When a change is refused because the folder is read-only and the folder belongs to the user, it is made writable until the
/// object is destroyed. Whoever does that holds the folder's lock (flock) meanwhile: two programs that export into one folder
/// do not take the permission away from each other. Only the innermost folder of an export waits for its lock, and only locks
/// of folders above it are held then, so no programs wait for each other in a circle.
///
/// Owns the descriptor. Thread safety: one object is for one thread.
class WritableFolder {
public:
    enum class ReadOnly { Lift, Respect };

    WritableFolder(FileDescriptor folder, ReadOnly readOnly);
    ~WritableFolder();
    WritableFolder(const WritableFolder&) = delete;
    WritableFolder& operator=(const WritableFolder&) = delete;

    const FileDescriptor& descriptor() const noexcept { return folder_; }

    /// Runs a system call that changes the entries of the folder.
    /// @param call  receives the folder's descriptor; returns a negative number and sets errno when it fails
    /// @return what the last call returned; errno is its own
    /// @throws Interrupted while it waits for the folder's lock
    int change(const std::function<int(int folder)>& call);

    /// The permission bits that the folder has in the end, also when the object is destroyed before `setMode`.
    void setModeAtEnd(mode_t mode) { modeAtEnd_ = mode; }

    /// The folder gets the permissions that it has in the end.
    /// @throws CommandError, Interrupted
    void setMode();

private:
    bool makeWritable();
    bool lock();

    const FileDescriptor folder_;
    const ReadOnly readOnly_;
    std::optional<mode_t> modeAtEnd_;
    bool isLocked_ = false;
};

} // namespace storage::host
