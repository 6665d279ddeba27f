#pragma once

#include "host/disk/FileDescriptor.h"

#include <functional>
#include <optional>
#include <sys/types.h>

namespace storage::host {

/// An open folder on disk for changing its entries. It remains the same folder even if its path changes.
///
/// If a change fails because the folder is read-only, and the user owns the folder, it is made writable for
/// the lifetime of the object. The folder is locked (flock) from then on, so that two exporting programs do
/// not revoke each other's permission. There is no deadlock: a program waits only for the lock of its
/// innermost folder, while it holds locks of folders above it.
///
/// Owns the descriptor. Not thread-safe.
class WritableFolder {
public:
    enum class ReadOnly { Lift, Respect };

    WritableFolder(FileDescriptor folder, ReadOnly readOnly);
    ~WritableFolder();
    WritableFolder(const WritableFolder&) = delete;
    WritableFolder& operator=(const WritableFolder&) = delete;

    const FileDescriptor& descriptor() const noexcept { return folder_; }

    /// Runs a system call that changes the entries of the folder.
    /// @param call  receives the folder's descriptor; returns a negative number and sets errno on failure
    /// @return the result of the last call, with its errno
    /// @throws Interrupted while waiting for the folder's lock
    int change(const std::function<int(int folder)>& call);

    /// Sets the final permission bits, which the destructor applies if `setMode` was not called.
    void setModeAtEnd(mode_t mode) { modeAtEnd_ = mode; }

    /// Applies the final permission bits.
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
