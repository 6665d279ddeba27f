#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/DiskEntry.h"
#include "host/session/ImportLog.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/ExportSource.h"
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

/// Compares trees of the storage with trees of the disk.
///
/// Two commands use it. `check` compares every import of the session with its sources. `check PATH DISK-PATH` compares the
/// entry at PATH with the one at DISK-PATH, most often an export, as if it had been imported from there.
///
/// | compared                | `check`                                 | `check PATH DISK-PATH`                        |
/// |-------------------------|-----------------------------------------|-----------------------------------------------|
/// | names, on both sides    | yes                                     | yes                                           |
/// | kinds                   | yes; what an import skips is skipped    | yes; what an import skips differs             |
/// | bytes of files          | yes                                     | yes                                           |
/// | targets of links        | yes                                     | yes                                           |
/// | numbers of devices      | yes                                     | yes                                           |
/// | which names are one file| yes                                     | yes                                           |
/// | extended attributes     | yes                                     | yes, not of the storage root                  |
/// | owners                  | by the superuser                        | if they are known and not usual               |
/// | writable flags          | of files and folders                    | of files and folders, not of the storage root |
/// | permissions             | all twelve bits                         | those an export carries, if they are known    |
/// | times, with -t          | of files and folders                    | of files and folders, not of the storage root |
///
/// Sources that went to one path are laid over one another: a folder must hold what all of them hold, and of a file and of
/// the attributes of a folder the last one counts. Attributes of a folder that an import only filled are not compared,
/// neither is the time of a folder to which a later import added something. A folder that exists only to hold an import
/// has no counterpart; what else is in it is a difference.
///
/// Every difference is one line, reported to the console as a failure. Of a missing or additional folder the entries below
/// are not reported. An entry that cannot be read is a failure, too.
///
/// Borrows all that it is made with. Thread safety: one object is for one thread.
class Checker {
public:
    /// Adds to what the source says of an entry what is known otherwise.
    using Complete = std::function<void(const StoragePath& path, DiskAttributes& known)>;

    enum class Times { Ignore, Compare };
    enum class Against { Sources, Export };

    /// @param expected  the trees of the disk, and where in the storage their copies are
    Checker(ExportSource& stored, Console& console, const Interruption& interruption,
            const ImportLog& expected, Complete complete, Against against, Times times);

    /// Compares all copies.
    /// @throws Interrupted
    void run();

    /// What was found on both sides, and the bytes that are equal from the beginning of each file.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    /// A source of an entry of the storage.
    struct Layer {
        ImportSource source;
        DiskEntry::Kind kind = DiskEntry::Kind::File;
        DiskEntry::Links links = DiskEntry::Links::Inspect;
        StoragePath path; ///< below the top of the source
        EntrySelection::Verdict verdict = EntrySelection::Verdict::Included;
    };
    using Layers = std::vector<Layer>; ///< in the order of their imports

    /// A file of the disk in the tree of one source.
    using DiskFile = std::tuple<unsigned long long, dev_t, ino_t>;

    /// The first name that was met of a file with several.
    struct FirstName {
        StoragePath path;
        std::string diskPath;
        std::uint64_t linkGroup = 0; ///< in the storage
        DiskFile file;
    };

    struct Folder {
        StoragePath path;
        Layers layers; ///< folders only; none for a folder that exists to hold an import
    };
    /// What a folder must hold. Without layers: a folder that holds an import, or an import whose source cannot be found.
    using Children = std::map<std::u16string, Layers>;

    void compareTop(const StoragePath& path);
    void compareFolder(const Folder& folder);
    Children childrenOf(const Folder& folder);
    void addChildren(const Layer& layer, Children& children);
    static void addChild(const Layer& layer, const std::string& name, Children& children);
    Layers layersAt(const StoragePath& path);
    bool isSkippedKind(DiskEntry::Kind kind) const;
    bool holdsImported(const Layer& layer);
    const Layer* counterpart(const Layers& layers) const;
    void compareEntry(const StoragePath& path, EntryKind kind, const Layers& layers);
    void reportMissing(const StoragePath& path, const Layers& layers);
    void compareFile(const StoragePath& path, const Layer& layer);
    bool compareBytes(const StoragePath& path, const FileDescriptor& onDisk);
    void compareNames(const StoragePath& path, const Layer& layer, std::uint64_t linkGroup,
                      const DiskEntry& onDisk);
    void compareSpecial(const StoragePath& path, EntryKind kind, const Layer& layer);
    void reportBytes(const StoragePath& path, const FileDescriptor& onDisk, unsigned long long offset,
                     const std::string& difference);
    void compareFolderAttributes(const Folder& folder);
    bool isAddedToAfter(const Folder& folder, unsigned long long order) const;
    ExportSource::Entry entryAt(const StoragePath& path, EntryKind kind);
    void compareAttributes(const StoragePath& path, const ExportSource::Entry& stored,
                           const std::string& diskPath, const DiskEntry& onDisk, Times times);
    void compareXattrs(const StoragePath& path, const Xattrs& known, const FileDescriptor& onDisk);
    bool modesAgree(const ExportSource::Entry& stored, const DiskEntry& onDisk) const;
    void report(const StoragePath& path, const std::string& difference);

    ExportSource& stored_;
    Console& console_;
    const Interruption& interruption_;
    const ImportLog& expected_;
    const Complete complete_;
    const Against against_;
    const Times times_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::vector<Folder> open_; ///< folders that are still to be compared, the next one last
    std::map<DiskFile, std::shared_ptr<const FirstName>> filesOnDisk_;      ///< those with several names
    std::map<std::uint64_t, std::shared_ptr<const FirstName>> filesStored_; ///< the same, by group
    std::vector<char> buffer_;
    std::vector<char> diskBuffer_;
};

} // namespace storage::host
