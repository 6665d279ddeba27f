#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/DiskEntry.h"
#include "host/disk/FileDescriptor.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/SessionExportSource.h"
#include "host/transfer/TransferTotals.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <sys/types.h>
#include <tuple>
#include <vector>

namespace storage::host {

/// Compares trees in the storage with trees on disk.
///
/// Two commands use it. `check` compares every import of the session with its sources. `check PATH DISK-PATH`
/// compares the entry at PATH with the one at DISK-PATH, usually an export, as if it had been imported from
/// there.
///
/// | compared            | `check`                              | `check PATH DISK-PATH`                    |
/// |---------------------|--------------------------------------|-------------------------------------------|
/// | names on both sides | yes                                  | yes                                       |
/// | kinds               | yes, except what an import skips     | yes                                       |
/// | bytes of files      | yes                                  | yes                                       |
/// | link targets        | yes                                  | yes                                       |
/// | device numbers      | yes                                  | yes                                       |
/// | hard links          | yes                                  | yes                                       |
/// | holes               | whether a file that had some has any | the same                                  |
/// | extended attributes | yes                                  | yes, except of the storage root           |
/// | owners              | if run by root                       | if known and not the default              |
/// | writable flags      | of files and folders                 | the same, except of the storage root      |
/// | permissions         | all twelve bits                      | those that an export sets, if known       |
/// | times, with -t      | of files and folders                 | the same, except of the storage root      |
///
/// If several sources were imported to one path, the folder must contain the entries of all of them. For a
/// file, and for the attributes of a folder, the last source counts. The attributes of a folder that an
/// import only extended are not compared, nor is the time of a folder that a later import extended. A folder
/// that exists only to contain an import has no source; its other entries are differences.
///
/// Each difference is reported to the console in one line, as a failure. Entries below a missing or
/// additional folder are not reported. An entry that cannot be read is a failure, too.
///
/// Folders below a source are opened one from the other, so a symbolic link that replaces a folder is not
/// followed. A folder stays open until all its entries have been compared.
///
/// Borrows the source, the console and the log. Not thread-safe.
class Checker {
public:
    /// Adds attributes of an entry that the source does not have.
    using Complete = std::function<void(const StoragePath& path, DiskAttributes& known)>;

    enum class Times { Ignore, Compare };
    enum class Against { Sources, Export };

    /// @param expected  the trees on disk, and the paths of their copies in the storage
    Checker(SessionExportSource& stored, Console& console, const ImportLog& expected, Complete complete,
            Against against, Times times);

    /// Compares all copies.
    /// @throws Interrupted
    void run();

    /// The entries that exist on both sides, and the bytes before the first difference of each file.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    /// A source on disk of an entry in the storage.
    struct Layer {
        ImportSource source;
        DiskEntry::Kind kind = DiskEntry::Kind::File;
        std::shared_ptr<const FileDescriptor> above; ///< the parent folder; null for the top
        StoragePath path;                            ///< relative to the top of the source
        EntrySelection::Verdict verdict = EntrySelection::Verdict::Included;

        /// Opens the entry. Follows a symbolic link only at the top.
        FileDescriptor open(int flags) const;
    };
    using Layers = std::vector<Layer>; ///< in the order of their imports

    /// A file on disk: order of its source, device and inode number.
    using DiskFile = std::tuple<unsigned long long, dev_t, ino_t>;

    /// The first name of a file with hard links.
    struct FirstName {
        StoragePath path;
        std::string diskPath;
        std::uint64_t linkGroup = 0; ///< in the storage
        DiskFile file;
    };

    struct Folder {
        StoragePath path;
        Layers layers; ///< folders only; none for a folder that exists only to contain an import
    };
    /// The expected entries of a folder, by name. An entry has no layers if it is a folder that exists only
    /// to contain an import, or if its source no longer exists.
    using Children = std::map<std::u16string, Layers>;

    void compareTop(const StoragePath& path);
    void compareFolder(const Folder& folder);
    Children childrenOf(const Folder& folder);
    void addChildren(const Layer& layer, Children& children);
    static void addChild(const Layer& layer, const std::shared_ptr<const FileDescriptor>& folder,
                         const std::string& name, Children& children);
    Layers layersAt(const StoragePath& path);
    bool isSkippedKind(DiskEntry::Kind kind) const;
    bool holdsImported(const Layer& layer);
    const Layer* counterpart(const Layers& layers) const;
    void compareEntry(const StoragePath& path, EntryKind kind, const Layers& layers);
    void reportMissing(const StoragePath& path, const Layers& layers);
    void compareFile(const StoragePath& path, const Layer& layer);
    bool compareBytes(const StoragePath& path, const FileDescriptor& onDisk);
    void compareHoles(const StoragePath& path, const FileDescriptor& onDisk, const DiskEntry& entry);
    bool hasZeroBlockAhead(const FileDescriptor& file);
    void compareHardLinks(const StoragePath& path, const Layer& layer, std::uint64_t linkGroup,
                          const DiskEntry& onDisk);
    void compareSpecial(const StoragePath& path, EntryKind kind, const Layer& layer);
    void reportBytes(const StoragePath& path, const FileDescriptor& onDisk, const std::string& difference);
    void compareFolderAttributes(const Folder& folder);
    bool isAddedToAfter(const Folder& folder, unsigned long long order) const;
    ExportSource::Entry entryAt(const StoragePath& path, EntryKind kind);
    void compareAttributes(const StoragePath& path, const ExportSource::Entry& stored,
                           const std::string& diskPath, const DiskEntry& onDisk, Times times);
    void compareXattrs(const StoragePath& path, const Xattrs& known, const FileDescriptor& onDisk);
    bool modesAgree(const ExportSource::Entry& stored, const DiskEntry& onDisk) const;
    void report(const StoragePath& path, const std::string& difference);

    SessionExportSource& stored_;
    Console& console_;
    const ImportLog& expected_;
    const Complete complete_;
    const Against against_;
    const Times times_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<Folder> open_; ///< folders to compare, the next one last
    std::map<DiskFile, std::shared_ptr<const FirstName>> filesOnDisk_;      ///< files with hard links
    std::map<std::uint64_t, std::shared_ptr<const FirstName>> filesStored_; ///< the same, by link group
    std::vector<char> buffer_;
    std::vector<char> diskBuffer_;
};

} // namespace storage::host
