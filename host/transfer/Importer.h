#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/DiskFeed.h"
#include "host/transfer/ImportFeed.h"
#include "host/transfer/ImportTarget.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferOptions.h"
#include "host/transfer/TransferTotals.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// Copies files and trees into a storage, with all attributes that the source has: permissions, times,
/// extended attributes, holes, symbolic links, fifos and hard links. Owners and devices are imported only if
/// the process runs as root. Sockets are skipped, because a copy would be useless.
///
/// Continues after a failure, which the console counts. An incomplete new file is removed. A file that is to
/// be replaced stays unchanged until the new one is complete. Memory use grows with the depth of the tree,
/// stack use does not. Files of any size pass through one buffer.
///
/// Borrows the target, the console and the log. Not thread-safe.
class Importer {
public:
    using FileSystems = DiskFeed::FileSystems;

    /// @param imports  records each import from disk
    Importer(ImportTarget& target, Console& console, ImportLog& imports,
             FileSystems fileSystems = FileSystems::WithFiles, TransferOptions options = {});

    /// Imports one entry on disk and everything below it.
    /// @param source  path on disk. If it is a symbolic link, it is followed, unlike links below it.
    /// @param target  path of the entry itself. An existing folder is extended, even a read-only one if it
    ///     takes its attributes from the source. An existing file is replaced, even a read-only one.
    /// @throws CommandError when the entry itself cannot be imported
    /// @throws Interrupted
    void run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);

    /// Imports all entries of a feed. They are not recorded in the log.
    /// @param target  folder for the entries, created if it is missing
    /// @throws CommandError when the feed cannot be read to its end
    /// @throws Interrupted
    void run(ImportFeed& feed, const StoragePath& target, RootAttributes rootAttributes);

    /// What all runs have imported.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    using Entry = ImportFeed::Entry;

    /// A folder of the target that is being filled.
    struct OpenFolder {
        StoragePath path; ///< in the feed
        StoragePath target;
        std::string place;
        DiskAttributes attributes;
        bool keepsOwn; ///< its attributes do not change
        bool isRepeated;
        bool isEntered;
    };

    /// One name of an entry with hard links.
    struct LinkedFile {
        StoragePath path;
        std::uint64_t group = 0;
        unsigned long long size = 0;
        timespec modified{};
    };

    void take(ImportFeed& feed, const Entry& entry);
    void takeFolder(ImportFeed& feed, const Entry& entry);
    void takeFile(ImportFeed& feed, const Entry& entry);
    void takeLinkedFile(ImportFeed& feed, const Entry& entry, const StoragePath& target);
    void takeOtherName(ImportFeed& feed, const Entry& entry, const StoragePath& target);
    void takeSpecial(ImportFeed& feed, const Entry& entry);
    void enterFolders(ImportFeed& feed);
    void enterFolder(OpenFolder& folder);
    void leaveFoldersNotAbove(const StoragePath& path);
    void copyFile(ImportFeed& feed, const Entry& entry, const StoragePath& target, std::uint64_t linkGroup);
    unsigned long long copyBytes(ImportFeed& feed, const Entry& entry, ImportTarget::File& to);
    void makeSpecial(const Entry& entry, const StoragePath& target);
    bool isUnchanged(const Entry& entry, const StoragePath& target);
    bool printInDryRun(const std::string& place, EntryKind kind, const StoragePath& target);
    void logImport();
    void noticeTime(const std::string& place, const DiskAttributes& attributes);
    void notice(const std::string& place, const std::string& text);
    StoragePath targetOf(const StoragePath& path) const { return path.rebased({}, targetTop_); }

    ImportTarget& target_;
    Console& console_;
    ImportLog& imports_;
    const FileSystems fileSystems_;
    const TransferOptions options_;
    const bool keepsOwners_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::string source_; ///< of the current run from disk, until it is logged
    StoragePath targetTop_;
    RootAttributes rootAttributes_ = RootAttributes::FromSource;
    std::vector<OpenFolder> open_;
    std::map<ImportFeed::FileId, LinkedFile> linked_;               ///< of the current run
    std::map<std::u16string, std::vector<StoragePath>> otherNames_; ///< of the current run, by first name
    const std::unique_ptr<char[]> buffer_; ///< transferBufferSize bytes, not zeroed: most transfers use few
};

} // namespace storage::host
