#pragma once

#include <filesystem>

namespace storage::benchmark {

/// A folder with a git repository of text files and an archive of them, as input of jobs. It is the same in
/// every run.
class SourceTree {
public:
    /// Does not create the content of `folder`.
    explicit SourceTree(const std::filesystem::path& folder);

    /// Creates the content. The folder must be empty.
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
