#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// The lines typed at the terminal, kept on disk across sessions: one entry per line, the latest last,
/// readable by the owner only. Several sessions may add lines at the same time.
///
/// Not thread-safe.
class HistoryFile {
public:
    static constexpr std::size_t kept = 1000; ///< lines

    /// @param path  created, with its folder, when a line is added
    explicit HistoryFile(std::string path) : path_(std::move(path)) {}

    /// Returns the last `kept` lines. Removes older ones from the file.
    /// @throws CommandError
    std::vector<std::string> load() const;

    /// @throws CommandError
    void add(const std::string& line) const;

private:
    std::string path_;
};

} // namespace storage::host
