#pragma once

#include "host/disk/FileDescriptor.h"

#include <functional>
#include <optional>
#include <sys/types.h>

namespace storage::host {

/// An open folder of the disk whose entries are changed. It stays the same folder whatever becomes of its path.
///
/// When a change is refused because the folder is read-only and the folder belongs to the user, it is made writable until the
/// object is destroyed. The folder is locked (flock) from then on, so that two programs that export into it do not take the
/// permission away from each other. Deadlock is impossible: a program waits for the lock of its innermost folder only, while
/// it holds locks of folders above.
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
