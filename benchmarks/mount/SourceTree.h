#pragma once

#include <filesystem>

namespace storage::benchmark {

/// A folder with a repository of text files and an archive of them, which jobs bring into the measured places. The same
/// in every run.
class SourceTree {
public:
    /// Only names what is in `folder`.
    explicit SourceTree(const std::filesystem::path& folder);

    /// Makes what is in the folder, which is empty.
    /// @throws std::runtime_error, Interrupted
    void make(unsigned files) const;

    const std::filesystem::path& repository() const { return repository_; }
    const std::filesystem::path& archive() const { return archive_; }

private:
    void makeFiles(unsigned files) const;
    void makeRepository() const;

    std::filesystem::path repository_;
    std::filesystem::path archive_;
};

} // namespace storage::benchmark
