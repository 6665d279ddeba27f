#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// The folder for content that a mount could not export, with a note: a subfolder of a base folder, created
/// on first use and readable by its owner only.
///
/// Not thread-safe.
class RescueFolder {
public:
    /// @param base        absolute path; created on first use
    /// @param mountPoint  of the mount
    RescueFolder(std::string base, const std::string& mountPoint);

    const std::string& base() const noexcept { return base_; }
    const std::string& path() const noexcept { return path_; }

    /// The path for the content.
    std::string content() const { return path_ + "/content"; }

    /// Checks at the start whether the folder can be created.
    /// @throws CommandError
    void requireUsable() const;

    /// Whether the base folder has notes, of this mount or of an earlier one.
    bool baseHasNotes() const;

    /// Writes the note, or replaces an earlier one.
    /// @throws CommandError
    void write(const std::vector<std::string>& lines);

    /// Removes the note, and the folder if it has no content.
    void removeNote() noexcept;

private:
    const std::string base_;
    const std::string path_;
};

} // namespace storage::host
