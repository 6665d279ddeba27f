#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
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

/// Copies files and trees into a storage, with all that their source knows of them: permissions, owners if the process is the
/// superuser's, times, extended attributes, holes, symbolic links, fifos, and which names are one file. Devices come along
/// for the superuser. Sockets are skipped, as nobody could use the copy.
///
/// Goes on after a failure, which the console counts. A file is in the storage complete or not at all; one that it replaces
/// stays as it was until then. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows all that it is made with. Thread safety: one object is for one thread.
class Importer {
public:
    using FileSystems = DiskFeed::FileSystems;

    /// @param imports  records each run on the disk
    Importer(ImportTarget& target, Console& console, const Interruption& interruption, ImportLog& imports,
             FileSystems fileSystems = FileSystems::WithFiles, TransferOptions options = {});

    /// Imports one entry of the disk and everything below it.
    /// @param source  path on disk; a symbolic link here is followed, unlike the ones below
    /// @param target  where the entry itself comes to stand; a folder that is there is added to, a read-only one too if it
    ///                takes its attributes from the source; a file, also a read-only one, is replaced
    /// @throws CommandError when the entry itself cannot be imported
    /// @throws Interrupted
    void run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes);

    /// Imports all that a feed has. A check knows nothing of it.
    /// @param target  the folder that it goes into, which is made if it is missing
    /// @throws CommandError when the feed cannot be read to its end
    /// @throws Interrupted
    void run(ImportFeed& feed, const StoragePath& target, RootAttributes rootAttributes);

    /// What was imported by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    using Entry = ImportFeed::Entry;

    /// A folder of the target that is being filled.
    struct OpenFolder {
        StoragePath path; ///< in the feed
        StoragePath target;
        std::string place;
        DiskAttributes attributes;
        bool keepsOwn; ///< it is only filled
        bool isRepeated;
        bool isEntered;
    };

    /// An entry that has several names, by one of them.
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
    bool isOnlyPrinted(const std::string& place, EntryKind kind, const StoragePath& target);
    void logImport();
    void noticeTime(const std::string& place, const DiskAttributes& attributes);
    void notice(const std::string& place, const std::string& text);
    StoragePath targetOf(const StoragePath& path) const { return path.rebased({}, targetTop_); }

    ImportTarget& target_;
    Console& console_;
    const Interruption& interruption_;
    ImportLog& imports_;
    const FileSystems fileSystems_;
    const TransferOptions options_;
    const bool keepsOwners_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::string source_; ///< of this run on the disk, until it is logged
    StoragePath targetTop_;
    RootAttributes rootAttributes_ = RootAttributes::FromSource;
    std::vector<OpenFolder> open_;
    std::map<ImportFeed::FileId, LinkedFile> linked_;               ///< of this run
    std::map<std::u16string, std::vector<StoragePath>> otherNames_; ///< of this run, by the first one
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
