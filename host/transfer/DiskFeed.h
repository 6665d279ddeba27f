#pragma once

#include "host/console/Console.h"
#include "host/disk/DiskEntry.h"
#include "host/disk/DiskExtents.h"
#include "host/disk/FileDescriptor.h"
#include "host/session/EntrySelection.h"
#include "host/support/Interruption.h"
#include "host/transfer/ImportFeed.h"

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// A tree of the disk. All below its top is opened folder by folder, so no link leads out of it.
///
/// Owns a descriptor of every folder between the top and the current entry. Borrows all that it is made with. Thread safety: one
/// object is for one thread.
class DiskFeed final : public ImportFeed {
public:
    /// Which file systems a tree is imported from. The folder where another one begins is empty then.
    enum class FileSystems {
        WithFiles, ///< those that keep files, and not the ones that show the state of the system, as /proc does
        OfSource, ///< the one that the tree begins on, if it keeps files
        All,
    };

    /// @param source  path on disk; a symbolic link here is followed, unlike the ones below
    DiskFeed(std::string source, FileSystems fileSystems, const EntrySelection& selection, Console& console,
             const Interruption& interruption);

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
    const Interruption& interruption_;
    const bool keepsOwners_;
    bool isBegun_ = false;
    std::vector<OpenFolder> open_;
    Entry entry_;
    std::optional<FileDescriptor> file_; ///< of the current entry, if it is a file
    bool isSparse_ = false;
    std::uint64_t offset_ = 0; ///< in a sparse file, as far as its size reached when it was asked for
    DiskExtent extent_;        ///< of a sparse file, the one that the offset is in
};

} // namespace storage::host
