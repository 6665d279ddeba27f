#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace storage::benchmark {

/// A folder served by another process. Owns the mount and the process, and ends both.
class MountedFolder {
public:
    /// @param command  mounts in the background and returns when the mount is ready; the mount point is
    ///     appended
    /// @throws std::runtime_error, Interrupted
    MountedFolder(std::vector<std::string> command, std::filesystem::path mountPoint);
    ~MountedFolder();
    MountedFolder(const MountedFolder&) = delete;
    MountedFolder& operator=(const MountedFolder&) = delete;

    /// Processor time of the server.
    double serverSeconds() const;

private:
    void mount(const std::vector<std::string>& command);
    void unmount() noexcept;
    void awaitServer() noexcept;

    std::string program_;
    std::filesystem::path mountPoint_;
    pid_t server_ = 0;
    int serverHandle_ = -1; ///< readable when the process has ended
};

} // namespace storage::benchmark
