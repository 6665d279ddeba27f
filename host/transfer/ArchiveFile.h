#pragma once

#include "host/disk/TemporaryDiskFile.h"
#include "host/disk/WritableFolder.h"

#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>

namespace storage::host {

/// An archive file on disk. It gets its final name, and becomes readable by others, when it is complete.
///
/// Owns the file. Not thread-safe.
class ArchiveFile {
public:
    /// @param path  an existing file is replaced
    /// @throws CommandError when another kind of entry exists there, or the file cannot be created
    explicit ArchiveFile(const std::string& path);

    void write(std::span<const char> bytes) { temporary_.file().write(bytes); }

    /// Moves the file to its final name. It takes over the owner and permissions of a file that it replaces.
    void finish();

private:
    static std::optional<struct stat> replacedAt(const std::string& path);

    const std::optional<struct stat> replaced_;
    WritableFolder folder_;
    TemporaryDiskFile temporary_;
};

} // namespace storage::host
