#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace storage::host {

/// A failure of one command at one path, in the words the user is going to read.
class CommandError : public std::runtime_error {
public:
    /// @param path    the path concerned, of the disk or the storage
    /// @param reason  why, in plain words
    CommandError(std::string path, const std::string& reason)
        : std::runtime_error(reason), path_(std::move(path)) {}

    const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
};

/// The failure of a system call on a path of the disk.
/// @param path   path on disk, of any bytes
/// @param error  the errno of the call
CommandError diskError(const std::string& path, int error);

} // namespace storage::host
