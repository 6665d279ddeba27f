#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"

#include <string>

namespace storage::host {

/// A file under a name of its own in the folder where it belongs, so that nothing half-written ever stands under the final
/// name. Removed again unless it was renamed.
///
/// The name follows from the final one, `.qzstorage-HASH-N.part`, with the first N that is free. The file is locked (flock) as
/// long as the object lives. So a file of such a name that is not locked belongs to a program that was killed; it is removed by
/// the next one that requires its name, and by `removeAbandonedFiles`.
///
/// Owns the file until it is renamed, borrows the folder. Thread safety: one object is for one thread.
class TemporaryDiskFile {
public:
    /// @param name  the final name in the folder
    /// @throws CommandError naming the final path
    TemporaryDiskFile(WritableFolder& folder, const std::string& name);
    ~TemporaryDiskFile();
    TemporaryDiskFile(const TemporaryDiskFile&) = delete;
    TemporaryDiskFile& operator=(const TemporaryDiskFile&) = delete;

    const FileDescriptor& file() const noexcept { return named_.file; }

    /// Reports what the system finds out only when a file is closed, and lets the file take the final name, replacing a file
    /// that has it.
    /// @throws CommandError naming the final path
    void moveIntoPlace();

    /// Removes the temporary files of programs that were killed from a folder. What cannot be removed stays.
    static void removeAbandonedFiles(WritableFolder& folder);

private:
    struct NamedFile {
        std::string name; ///< empty once the file has its final name
        FileDescriptor file;
    };

    static NamedFile create(WritableFolder& folder, const std::string& target);

    WritableFolder& folder_;
    const std::string target_;
    NamedFile named_;
};

} // namespace storage::host
