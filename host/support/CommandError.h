#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace storage::host {

/// A failure of one command at one path, with a message for the user.
class CommandError : public std::runtime_error {
public:
    /// @param path    path on disk or in the storage
    /// @param reason  the message
    CommandError(std::string path, const std::string& reason)
        : std::runtime_error(reason), path_(std::move(path)) {}

    const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
};

/// Converts a failed system call on a path on disk.
/// @param path   path on disk, of any bytes
/// @param error  errno of the call
CommandError diskError(const std::string& path, int error);

} // namespace storage::host
