#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// The lines that a person has typed, kept on the disk from session to session: one line each, the latest last, readable by
/// its owner only. Several sessions may add lines at the same time.
///
/// Thread safety: one object is for one thread.
class HistoryFile {
public:
    static constexpr std::size_t kept = 1000; ///< lines

    /// @param path  made, with its folder, when a line is added
    explicit HistoryFile(std::string path) : path_(std::move(path)) {}

    /// The lines that are kept. Others are removed from the file.
    /// @throws CommandError
    std::vector<std::string> load() const;

    /// @throws CommandError
    void add(const std::string& line) const;

private:
    std::string path_;
};

} // namespace storage::host
