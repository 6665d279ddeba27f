#pragma once

#include "host/disk/FileDescriptor.h"

#include <string>

namespace storage::host {

/// A file under a name of its own beside the place where it belongs, so that nothing half-written ever stands
/// under the final name. Removed again unless it was renamed.
///
/// Owns the file until then. Thread safety: one object is for one thread.
class TemporaryDiskFile {
public:
    /// @param target  the final path; its folder must exist
    /// @throws CommandError naming the final path
    explicit TemporaryDiskFile(const std::string& target);
    ~TemporaryDiskFile();
    TemporaryDiskFile(const TemporaryDiskFile&) = delete;
    TemporaryDiskFile& operator=(const TemporaryDiskFile&) = delete;

    const FileDescriptor& file() const noexcept { return file_; }

    /// Closes the file and lets it take the final name, replacing a file that has it.
    /// @throws CommandError naming the final path
    void moveIntoPlace();

private:
    const std::string target_;
    std::string path_; ///< empty once the file has its final name
    FileDescriptor file_;
};

} // namespace storage::host
