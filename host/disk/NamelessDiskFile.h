#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"

#include <optional>
#include <string>
#include <utility>

namespace storage::host {

/// A new file without a name (O_TMPFILE). When it is complete, it gets a name that is free in its folder.
/// Unlike a `TemporaryDiskFile` it requires no lock, and a killed program leaves nothing behind.
///
/// Owns the file until it has its name, borrows the folder. Not thread-safe.
class NamelessDiskFile {
public:
    /// @param name  the final name in the folder
    /// @return nothing on any failure, for example if the file system does not support such files. The caller
    ///         then creates a `TemporaryDiskFile`, which reports other causes
    /// @throws Interrupted
    static std::optional<NamelessDiskFile> create(WritableFolder& folder, const std::string& name);

    const FileDescriptor& file() const noexcept { return file_; }

    /// Checks for errors of close(2), and links the file under its name.
    /// @return 0, or the errno(3) of the failure: EEXIST if an entry has that name by now; any other if the
    ///         file cannot get a name, for example without /proc
    /// @throws CommandError naming the final path when closing fails; Interrupted
    int moveIntoPlace();

private:
    NamelessDiskFile(WritableFolder& folder, std::string name, FileDescriptor file)
        : folder_(folder), name_(std::move(name)), file_(std::move(file)) {}

    WritableFolder& folder_;
    std::string name_;
    FileDescriptor file_;
};

} // namespace storage::host
