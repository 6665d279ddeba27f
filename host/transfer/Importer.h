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

    /// @param imports  records each run
    /// @param modes    records the permissions of each entry
    Importer(const IProvider& provider, Console& console, const Interruption& interruption,
             ImportLog& imports, EntryModes& modes);

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
        std::string source;
        StoragePath target;
        DiskEntry attributes;
        RootAttributes keeps;
        std::unique_ptr<const LiftedFolderFlag> lifted;
        std::vector<std::string> names;
        std::size_t next;
    };

    void importTree(const std::string& source, const StoragePath& target, const DiskEntry& entry,
                    RootAttributes rootAttributes);
    void logImport(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);
    void importNext();
    void importChild(const std::string& source, const StoragePath& target);
    void enterFolder(const std::string& source, const StoragePath& target, const DiskEntry& entry,
                     RootAttributes keeps, DiskEntry::Links links);
    void leaveFolder(OpenFolder& folder);
    void importFile(const std::string& source, const StoragePath& target, DiskEntry::Links links);
    void createFile(const FileDescriptor& from, const StoragePath& target);
    void replaceFile(const FileDescriptor& from, const StoragePath& target);
    unsigned long long copyBytes(const FileDescriptor& from, const StoragePath& target);
    void applyAttributes(const StoragePath& target, const DiskEntry& attributes);

    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
    ImportLog& imports_;
    EntryModes& modes_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<OpenFolder> open_;
    std::vector<char> buffer_;
};

} // namespace storage::host
