#pragma once

#include "host/disk/TemporaryDiskFile.h"
#include "host/disk/WritableFolder.h"

#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>

namespace storage::host {

/// The file of an archive on the disk, which gets its name, and is readable by others, when it is complete.
///
/// Owns the file. Thread safety: one object is for one thread.
class ArchiveFile {
public:
    /// @param path  a file that is there is replaced
    /// @throws CommandError when anything else is there, or nothing can be made there
    explicit ArchiveFile(const std::string& path);

    void write(std::span<const char> bytes) { temporary_.file().write(bytes); }

    /// Replaces the file of that name, whose owner and permissions it takes over.
    void finish();

private:
    static std::optional<struct stat> replacedAt(const std::string& path);

    const std::optional<struct stat> replaced_;
    WritableFolder folder_;
    TemporaryDiskFile temporary_;
};

} // namespace storage::host
