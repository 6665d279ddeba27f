#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/DiskEntry.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/TransferTotals.h"
#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IProvider.h"

#include <map>
#include <string>
#include <vector>

namespace storage::host {

/// Compares trees of the storage with trees of the disk: names, kinds, bytes, the writable flags of files
/// and, if wanted, the times of files. Symbolic links and other entries that an import skips do not count.
///
/// Every difference is reported to the console as a failure. Borrows provider, console, interruption and log.
/// Thread safety: one object is for one thread.
class Checker {
public:
    enum class Times { Ignore, Compare };
    using EntryType = foundation::storage::provider::FolderEntry::EntryType;

    using IProvider = foundation::storage::provider::IProvider;

    Checker(const IProvider& provider, Console& console, const Interruption& interruption,
            const ImportLog& imports, Times times);

    /// Compares one entry and everything below it. The copy of another import that stands inside the tree is
    /// left out, as it is compared with a source of its own.
    /// @throws Interrupted
    void run(const StoragePath& path, const std::string& diskPath);

    /// What was found on both sides by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    struct Pair {
        StoragePath path;
        std::string diskPath;
    };
    struct DiskChild {
        std::string path;
        DiskEntry::Kind kind;
    };
    using DiskChildren = std::map<std::u16string, DiskChild>;

    void compareFolders(const Pair& pair);
    DiskChildren listDisk(const std::string& folder);
    void addDiskChild(const std::string& folder, const std::string& name, DiskChildren& children);
    void compareEntries(const StoragePath& path, EntryType type, const DiskChild& onDisk);
    void reportNotOnDisk(const StoragePath& path);
    void compareFiles(const Pair& pair);
    void compareBytes(const Pair& pair, const FileDescriptor& onDisk);
    void compareAttributes(const Pair& pair, const DiskEntry& onDisk);
    void report(const StoragePath& path, const std::string& difference);

    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
    const ImportLog& imports_;
    const Times times_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<Pair> open_; ///< folders on both sides that are still to be compared
    std::vector<char> buffer_;
    std::vector<char> diskBuffer_;
};

} // namespace storage::host
