#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/DiskEntry.h"
#include "host/session/EntryModes.h"
#include "host/session/ImportLog.h"
#include "host/storage/LiftedFolderFlag.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferTotals.h"
#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::host {

/// Copies files and trees from the disk into the storage, with times and writable flags.
///
/// Goes on after a failure, which the console counts. A file is in the storage complete or not at all; one that it replaces
/// stays as it was until then. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows all that it is made with. Thread safety: one object is for one thread.
class Importer {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// Which file systems a tree is imported from. The folder where another one begins is empty then, and counts as skipped.
    enum class FileSystems {
        WithFiles, ///< those that keep files, and not the ones that show the state of the system, as /proc does
        OfSource, ///< the one that the tree begins on, if it keeps files
        All,
    };

    /// @param imports  records each run
    /// @param modes    records the permissions of each entry
    Importer(const IProvider& provider, Console& console, const Interruption& interruption,
             ImportLog& imports, EntryModes& modes, FileSystems fileSystems = FileSystems::WithFiles);

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
        DiskEntry attributes;
        RootAttributes keeps;
        std::unique_ptr<const LiftedFolderFlag> lifted;
        std::vector<std::string> names;
        std::size_t next;
    };

    void importTree(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);
    void logImport(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);
    void importNext();
    void importChild(const FileDescriptor& folder, const std::string& name, const StoragePath& target);
    void enterFolder(FileDescriptor source, const StoragePath& target, RootAttributes keeps);
    std::vector<std::string> namesIn(const FileDescriptor& folder, const DiskEntry& attributes);
    void leaveFolder(OpenFolder& folder);
    void importFile(const FileDescriptor& from, const StoragePath& target);
    void createFile(const FileDescriptor& from, const StoragePath& target);
    void replaceFile(const FileDescriptor& from, const StoragePath& target);
    unsigned long long copyBytes(const FileDescriptor& from, const StoragePath& target);
    void noticeTime(const FileDescriptor& source, const DiskEntry& attributes);
    void applyAttributes(const StoragePath& target, const DiskEntry& attributes);

    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
    ImportLog& imports_;
    EntryModes& modes_;
    const FileSystems fileSystems_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<OpenFolder> open_;
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
