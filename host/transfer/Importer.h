#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/DiskEntry.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/ImportTarget.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferTotals.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// Copies files and trees from the disk into a storage, with all that the disk keeps of them: permissions, owners if the process
/// is the superuser's, times, extended attributes, holes, symbolic links, fifos, and which names are one file. Devices come along
/// for the superuser. Sockets are skipped, as nobody could use the copy.
///
/// Goes on after a failure, which the console counts. A file is in the storage complete or not at all; one that it replaces
/// stays as it was until then. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows all that it is made with. Thread safety: one object is for one thread.
class Importer {
public:
    /// Which file systems a tree is imported from. The folder where another one begins is empty then, and counts as skipped.
    enum class FileSystems {
        WithFiles, ///< those that keep files, and not the ones that show the state of the system, as /proc does
        OfSource, ///< the one that the tree begins on, if it keeps files
        All,
    };

    /// @param imports  records each run
    Importer(ImportTarget& target, Console& console, const Interruption& interruption, ImportLog& imports,
             FileSystems fileSystems = FileSystems::WithFiles);

    /// Imports one entry and everything below it.
    /// @param source  path on disk; a symbolic link here is followed, unlike the ones below
    /// @param target  where the entry itself comes to stand; a folder that is there is added to, a read-only one too if it
    ///                takes its attributes from the source; a file, also a read-only one, is replaced
    /// @throws CommandError when the entry itself cannot be imported
    /// @throws Interrupted
    void run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);

    /// What was imported by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    struct OpenFolder {
        FileDescriptor source; ///< all below it is opened from here, so no link leads out of the tree
        StoragePath target;
        DiskEntry entry;
        DiskAttributes attributes;
        RootAttributes keeps;
        std::vector<std::string> names;
        std::size_t next;
    };

    /// An entry of the disk that has several names, by one of them.
    struct LinkedFile {
        StoragePath path;
        std::uint64_t group = 0;
        unsigned long long size = 0;
        timespec modified{};
    };
    using FileId = std::pair<dev_t, ino_t>;

    void importTree(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);
    void logImport(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);
    void importNext();
    void importChild(const FileDescriptor& folder, const std::string& name, const StoragePath& target);
    void enterFolder(FileDescriptor source, const StoragePath& target, RootAttributes keeps);
    std::vector<std::string> namesIn(const FileDescriptor& folder, const DiskEntry& entry);
    void leaveFolder(const OpenFolder& folder);
    void importFile(const FileDescriptor& from, const StoragePath& target);
    void importLinkedFile(const FileDescriptor& from, const DiskEntry& entry, const StoragePath& target);
    void copyFile(const FileDescriptor& from, const DiskEntry& entry, const StoragePath& target,
                  std::uint64_t linkGroup);
    unsigned long long copyBytes(const FileDescriptor& from, const DiskEntry& entry, ImportTarget::File& to);
    unsigned long long copyExtents(const FileDescriptor& from, std::uint64_t size, ImportTarget::File& to);
    void importSpecial(const FileDescriptor& folder, const std::string& name, const DiskEntry& entry,
                       const StoragePath& target);
    void makeSpecial(const DiskEntry& entry, const StoragePath& target, DiskAttributes attributes);
    void countCopied(std::size_t count);
    DiskAttributes attributesOf(const DiskEntry& entry) const;
    void noticeTime(const std::string& source, const DiskEntry& entry);

    ImportTarget& target_;
    Console& console_;
    const Interruption& interruption_;
    ImportLog& imports_;
    const FileSystems fileSystems_;
    const bool keepsOwners_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<OpenFolder> open_;
    std::map<FileId, LinkedFile> linked_;  ///< of this run
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
