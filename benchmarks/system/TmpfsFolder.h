#pragma once

#include <filesystem>

namespace storage::benchmark {

/// A folder of this run on a tmpfs with enough space, if there is one. The destructor removes it.
class TmpfsFolder {
public:
    TmpfsFolder();
    ~TmpfsFolder();
    TmpfsFolder(const TmpfsFolder&) = delete;
    TmpfsFolder& operator=(const TmpfsFolder&) = delete;

    /// Empty if no tmpfs is suitable.
    const std::filesystem::path& path() const { return path_; }

    /// Removes the content, which a killed child process may have left behind.
    void clear() noexcept;

private:
    std::filesystem::path path_;
};

} // namespace storage::benchmark
