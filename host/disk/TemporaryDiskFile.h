#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"

#include <string>

namespace storage::host {

/// A file with a temporary name in its target folder, so that the final name never refers to incomplete
/// content. The destructor removes it unless it was renamed.
///
/// The name is derived from the final one: `.qzstorage-HASH-N.part`, with the first unused N. The file is
/// locked (flock) for the lifetime of the object. An unlocked file with such a name was left behind by a
/// killed program. It is removed when its name is needed again, and by `removeAbandonedFiles`.
///
/// Owns the file until it is renamed, borrows the folder. Not thread-safe.
class TemporaryDiskFile {
public:
    /// @param name  the final name in the folder
    /// @throws CommandError naming the final path
    TemporaryDiskFile(WritableFolder& folder, const std::string& name);
    ~TemporaryDiskFile();
    TemporaryDiskFile(const TemporaryDiskFile&) = delete;
    TemporaryDiskFile& operator=(const TemporaryDiskFile&) = delete;

    const FileDescriptor& file() const noexcept { return named_.file; }

    /// Checks for errors of close(2), and renames the file to its final name, which replaces an existing
    /// file.
    /// @throws CommandError naming the final path
    void moveIntoPlace();

    /// Removes temporary files that killed programs left in a folder. Failures are ignored.
    static void removeAbandonedFiles(WritableFolder& folder);

private:
    struct NamedFile {
        std::string name; ///< empty after the rename
        FileDescriptor file;
    };

    static NamedFile create(WritableFolder& folder, const std::string& target);

    WritableFolder& folder_;
    const std::string target_;
    NamedFile named_;
};

} // namespace storage::host
