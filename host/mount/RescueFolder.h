#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// Where a mount leaves what it could not export, with a note: a folder of its own below a base folder, made when it is first
/// needed and readable by its owner only.
///
/// Thread safety: one object is for one thread.
class RescueFolder {
public:
    /// @param base        absolute path; made when it is needed
    /// @param mountPoint  of the mount
    RescueFolder(std::string base, const std::string& mountPoint);

    const std::string& base() const noexcept { return base_; }
    const std::string& path() const noexcept { return path_; }

    /// Where the content goes.
    std::string content() const { return path_ + "/content"; }

    /// Whether something is there, of this mount or of an earlier one.
    bool baseHasNotes() const;

    /// Writes the note, in place of an earlier one.
    /// @throws CommandError
    void write(const std::vector<std::string>& lines);

    /// Removes the note. What else is there stays.
    void removeNote() noexcept;

private:
    const std::string base_;
    const std::string path_;
};

} // namespace storage::host
