#pragma once

#include <filesystem>

namespace storage::benchmark {

/// A folder of this run in a tmpfs that has room enough, if there is one. It goes with the object.
class TmpfsFolder {
public:
    TmpfsFolder();
    ~TmpfsFolder();
    TmpfsFolder(const TmpfsFolder&) = delete;
    TmpfsFolder& operator=(const TmpfsFolder&) = delete;

    /// Empty when no tmpfs will do.
    const std::filesystem::path& path() const { return path_; }

    /// Removes what a process that died may have left behind.
    void clear() noexcept;

private:
    std::filesystem::path path_;
};

} // namespace storage::benchmark
