#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferTotals.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace storage::host {

/// Copies files and trees from a storage to the disk, with all that the source knows of them.
///
/// What is not complete can be read by its owner only. A file that is replaced keeps its owner, if the user may give files
/// away, and its permissions but for the writable flag, unless the source has the authority. A folder that is made has its
/// permissions as soon as nothing more is added to it, also after a failure or an interruption. Nothing gets set-user-ID or
/// set-group-ID unless it belongs to the user or group that the source names. Owners and extended attributes that the disk does
/// not take are one line for each run, and no failure.
///
/// All below the target is opened folder by folder, so no link leads out of the tree. Several programs may export into one
/// folder. What a killed one left behind is removed.
///
/// Goes on after a failure, which the console counts. A file stands under its name on disk complete or not at
/// all. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows source, console and interruption. Thread safety: one object is for one thread.
class Exporter {
public:
    Exporter(ExportSource& source, Console& console, const Interruption& interruption);

    /// Exports one existing entry and everything below it.
    /// @param target          path on disk where the entry itself comes to stand; a folder that is there is
    ///                        added to, an entry of the same kind replaced, anything else refused
    /// @param rootAttributes  Untouched for a folder that is only to be filled, which a link may lead to
    /// @throws Interrupted
    void run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes);

    /// What was exported by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    struct OpenFolder {
        StoragePath source;
        std::unique_ptr<WritableFolder> folder;
        bool isMade = false;
        bool keepsOwn = false; ///< it is only filled
        std::vector<ExportSource::Child> children;
        std::size_t next = 0;
    };

    /// An exported file that has several names, by the first of them.
    struct LinkedFile {
        StoragePath folder;
        std::string name;
        dev_t device = 0;
        ino_t inode = 0;
    };

    void exportNext();
    void exportEntry(const StoragePath& source, EntryKind kind, WritableFolder& folder,
                     const std::string& name);
    void makeFolder(WritableFolder& above, const std::string& name, const StoragePath& source);
    void enterFolder(OpenFolder folder);
    void leaveFolder(const OpenFolder& done);
    void exportFile(const StoragePath& source, WritableFolder& folder, const std::string& name);
    void exportSpecial(const StoragePath& source, EntryKind kind, WritableFolder& folder,
                       const std::string& name);
    struct stat finishSpecial(const FileDescriptor& folder, const std::string& name,
                              const DiskAttributes& attributes);
    bool linkTo(std::uint64_t group, WritableFolder& folder, const std::string& name);
    FileDescriptor openExported(const StoragePath& folder) const;
    mode_t giveOwner(const FileDescriptor& entry, const DiskAttributes& attributes, mode_t mode);
    static mode_t takeOver(const FileDescriptor& file, const struct stat& replaced);
    void addExtended(const FileDescriptor& entry, const Xattrs& xattrs);
    unsigned long long copyBytes(const StoragePath& source, bool isSparse, const FileDescriptor& to);
    void writeSparse(std::size_t count, std::uint64_t offset, const FileDescriptor& to) const;
    bool isSourceExact() const noexcept { return source_.authority() == ExportSource::Authority::Source; }
    void noticeLosses(const std::string& target);

    ExportSource& source_;
    Console& console_;
    const Interruption& interruption_;
    const mode_t newFileMode_;
    const DiskOwner self_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::unique_ptr<WritableFolder> above_; ///< the folder of the target; null for one that is only filled
    std::vector<OpenFolder> open_;          ///< the folders that are being filled
    std::map<std::uint64_t, LinkedFile> linked_; ///< of this run, by group
    std::size_t lostOwners_ = 0;                 ///< of this run
    std::size_t lostXattrs_ = 0;                 ///< of this run
    const std::unique_ptr<char[]> buffer_;       ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
