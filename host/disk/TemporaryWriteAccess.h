#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// Lets the owner of a read-only folder of the disk write to it as long as the object lives. A folder that the user
/// can write to anyway, or does not own, stays as it is.
///
/// Thread safety: one object is for one thread.
class TemporaryWriteAccess {
public:
    /// @param path  an existing folder
    explicit TemporaryWriteAccess(const std::string& path);
    ~TemporaryWriteAccess();
    TemporaryWriteAccess(const TemporaryWriteAccess&) = delete;
    TemporaryWriteAccess& operator=(const TemporaryWriteAccess&) = delete;

private:
    const std::string path_;
    std::optional<mode_t> before_; ///< what to restore
};

} // namespace storage::host
