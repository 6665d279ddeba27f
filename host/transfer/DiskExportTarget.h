#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"
#include "host/support/Interruption.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/ExportTarget.h"
#include "host/transfer/RootAttributes.h"

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace storage::host {

/// A place on the disk, for one export.
///
/// What is not complete can be read by its owner only. A file that is replaced keeps its owner, if the user may give files
/// away, and its permissions but for the writable flag, unless the source has the authority. A folder that is made has its
/// permissions as soon as nothing more is added to it, also after a failure or an interruption. Nothing gets set-user-ID or
/// set-group-ID unless it belongs to the user or group that the source names.
///
/// All below the place is opened folder by folder, so no link leads out of the tree. Several programs may export into one
/// folder. What a killed one left behind is removed. A file stands under its name complete or not at all.
///
/// Owns a descriptor of every folder that is being filled. Borrows all that it is made with. Thread safety: one object is for
/// one thread.
class DiskExportTarget final : public ExportTarget {
public:
    /// @param place           path on disk where the exported entry itself comes to stand
    /// @param rootAttributes  Untouched for a folder that is only to be filled, which a link may lead to
    /// @param buffer          for bytes on their way
    DiskExportTarget(ExportSource& source, const Interruption& interruption, ProgressMeter& progress,
                     std::span<char> buffer, std::string place, RootAttributes rootAttributes);

    std::optional<Existing> find(const std::string& place) override;
    std::string placeIn(const std::string& folder, const std::string& name) const override;
    void enterFolder(const StoragePath& source, const std::string& name) override;
    void leaveFolder() override;
    std::uint64_t addFile(const StoragePath& source, const std::string& name) override;
    bool addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) override;

    /// What the disk did not take, in words; empty if it took all.
    std::string losses() const;

private:
    struct OpenFolder {
        StoragePath source;
        std::unique_ptr<WritableFolder> folder;
        bool isMade = false;
        bool keepsOwn = false; ///< it is only filled
    };

    /// An exported file that has several names, by the first of them.
    struct LinkedFile {
        StoragePath folder;
        std::string name;
        dev_t device = 0;
        ino_t inode = 0;
    };

    WritableFolder& innermost();
    void makeFolder(const StoragePath& source, const std::string& name);
    struct stat finishSpecial(const FileDescriptor& folder, const std::string& name,
                              const DiskAttributes& attributes);
    bool linkTo(std::uint64_t group, WritableFolder& folder, const std::string& name);
    FileDescriptor openExported(const StoragePath& folder) const;
    mode_t giveOwner(const FileDescriptor& entry, const DiskAttributes& attributes, mode_t mode);
    static mode_t takeOver(const FileDescriptor& file, const struct stat& replaced);
    void addExtended(const FileDescriptor& entry, const Xattrs& xattrs);
    std::uint64_t copyBytes(const StoragePath& source, bool isSparse, const FileDescriptor& to);
    void writeSparse(std::size_t count, std::uint64_t offset, const FileDescriptor& to) const;
    bool isSourceExact() const noexcept { return source_.authority() == ExportSource::Authority::Source; }

    ExportSource& source_;
    const Interruption& interruption_;
    ProgressMeter& progress_;
    const std::span<char> buffer_;
    const std::string place_;
    const RootAttributes rootAttributes_;
    const mode_t newFileMode_;
    const DiskOwner self_;
    std::unique_ptr<WritableFolder> above_; ///< the folder of the place; null for one that is only filled
    std::vector<OpenFolder> open_;
    std::map<std::uint64_t, LinkedFile> linked_; ///< by group
    std::size_t lostOwners_ = 0;
    std::size_t lostXattrs_ = 0;
};

} // namespace storage::host
