#pragma once

#include "host/console/Console.h"
#include "host/disk/DiskEntry.h"
#include "host/disk/DiskExtents.h"
#include "host/disk/FileDescriptor.h"
#include "host/session/EntrySelection.h"
#include "host/transfer/ImportFeed.h"

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// Reads a tree on disk. Every entry below the top is opened relative to its folder, so that no symbolic link
/// leads out of the tree.
///
/// Owns a descriptor of every folder between the top and the current entry. Borrows selection and console.
/// Not thread-safe.
class DiskFeed final : public ImportFeed {
public:
    /// Which file systems are imported. The mount points of others are imported as empty folders.
    enum class FileSystems {
        WithFiles, ///< those that store files, not pseudo file systems such as /proc
        OfSource,  ///< only that of the source, if it stores files
        All,
    };

    /// @param source  path on disk. If it is a symbolic link, it is followed, unlike links below it.
    DiskFeed(std::string source, FileSystems fileSystems, const EntrySelection& selection, Console& console);

    const Entry* next() override;
    void skipBelow(const StoragePath& folder) override;
    std::uint64_t skipHole() override;
    std::size_t read(std::span<char> buffer) override;

private:
    using Verdict = EntrySelection::Verdict;

    struct OpenFolder {
        FileDescriptor descriptor;
        StoragePath path;
        dev_t device;
        Verdict verdict;
        std::vector<std::string> names;
        std::size_t next;
    };

    bool takeTop();
    bool takeNext();
    bool takeChild(const OpenFolder& folder, const std::string& name);
    void takeFolder(FileDescriptor folder, const StoragePath& path, Verdict verdict);
    void takeFile(FileDescriptor file, const StoragePath& path);
    void takeSpecial(const OpenFolder& folder, const std::string& name, const DiskEntry& found,
                     const StoragePath& path);
    void describe(const DiskEntry& found, std::string place, const StoragePath& path);
    std::string whySkipped(const FileDescriptor& folder, const DiskEntry& found) const;
    void requireFiles(const FileDescriptor& folder) const;

    const std::string source_;
    const FileSystems fileSystems_;
    const EntrySelection& selection_;
    Console& console_;
    const bool keepsOwners_;
    bool isBegun_ = false;
    std::vector<OpenFolder> open_;
    Entry entry_;
    std::optional<FileDescriptor> file_; ///< of the current entry, if it is a file
    bool isSparse_ = false;
    std::uint64_t offset_ = 0; ///< read position in the file
    DiskExtent extent_;        ///< of a sparse file: the extent at the read position
};

} // namespace storage::host
