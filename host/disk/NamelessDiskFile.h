#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"

#include <optional>
#include <string>
#include <utility>

namespace storage::host {

/// A new file without a name (O_TMPFILE), for a place in a folder that no entry has. It gets its name when it is
/// complete. Unlike a `TemporaryDiskFile` it requires no lock, and a killed program leaves nothing behind.
///
/// Owns the file until it has its name, borrows the folder. Not thread-safe.
class NamelessDiskFile {
public:
    /// @param name  the final name in the folder
    /// @return nothing if the file system or the system does not support such files, or on another failure; then
    ///         a `TemporaryDiskFile` reports the cause
    /// @throws Interrupted
    static std::optional<NamelessDiskFile> create(WritableFolder& folder, const std::string& name);

    const FileDescriptor& file() const noexcept { return file_; }

    /// Checks for errors of close(2), and gives the file its name.
    /// @return false if an entry has that name by now, or the system does not permit to name the file
    /// @throws CommandError naming the final path; Interrupted
    bool moveIntoPlace();

private:
    NamelessDiskFile(WritableFolder& folder, std::string name, FileDescriptor file)
        : folder_(folder), name_(std::move(name)), file_(std::move(file)) {}

    WritableFolder& folder_;
    std::string name_;
    FileDescriptor file_;
};

} // namespace storage::host
