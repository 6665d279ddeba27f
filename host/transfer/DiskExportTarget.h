#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"
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

/// Exports one entry to disk.
///
/// Incomplete files and folders are accessible to their owner only. If the source is the authority on
/// attributes, a file that replaces another one gets the attributes of the source. Otherwise it keeps the
/// permissions of the replaced file, except the write bits, and its owner, if the user may change owners. A
/// new folder gets its permissions when nothing more is added to it, also after a failure or an interruption.
/// An entry gets set-user-ID or set-group-ID only if it belongs to the user or group that the source names.
///
/// Every entry below the top is opened relative to its folder, so that no symbolic link leads out of the
/// tree. Several programs may export into one folder. Temporary entries of killed programs are removed. The
/// final name of a file never refers to incomplete content.
///
/// Owns a descriptor of every folder that is being filled. Borrows the source, the progress meter and the
/// buffer. Not thread-safe.
class DiskExportTarget final : public ExportTarget {
public:
    /// @param buffer          for copying
    /// @param place           path of the exported entry itself
    /// @param rootAttributes  Untouched for a folder that is only extended; the path may be a symbolic link
    DiskExportTarget(ExportSource& source, ProgressMeter& progress, std::span<char> buffer, std::string place,
                     RootAttributes rootAttributes);

    std::optional<Existing> find(const std::string& place) override;
    std::string placeIn(const std::string& folder, const std::string& name) const override;
    void enterFolder(const StoragePath& source, const std::string& name) override;
    void leaveFolder() override;
    std::uint64_t addFile(const StoragePath& source, const std::string& name) override;
    bool addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) override;

    /// A message about attributes that the disk did not accept; empty if there are none.
    std::string losses() const;

private:
    struct OpenFolder {
        std::shared_ptr<const StoragePath> source; ///< shared with the linked files in the folder
        std::unique_ptr<WritableFolder> folder;
        bool isNew = false;    ///< created by this export
        bool keepsOwn = false; ///< its attributes do not change
    };

    /// How many attributes the disk did not accept.
    struct Losses {
        std::size_t owners = 0;
        std::size_t xattrs = 0;
    };

    /// The first name of an exported file with hard links.
    struct LinkedFile {
        std::shared_ptr<const StoragePath> folder;
        std::string name;
        dev_t device = 0;
        ino_t inode = 0;
    };

    WritableFolder& innermost();
    void rememberLink(std::uint64_t group, const StoragePath& source, const std::string& name,
                      const struct stat& status);
    std::optional<std::uint64_t> addNewFile(const StoragePath& source, const ExportSource::Entry& entry,
                                            WritableFolder& folder, const std::string& name);
    std::uint64_t fill(const FileDescriptor& file, const StoragePath& source,
                       const ExportSource::Entry& entry, const struct stat* replaced);
    void makeFolder(const StoragePath& source, const std::string& name);
    struct stat finishSpecial(const FileDescriptor& folder, const std::string& name,
                              const DiskAttributes& attributes);
    bool linkTo(std::uint64_t group, WritableFolder& folder, const std::string& name);
    FileDescriptor openExported(const StoragePath& folder) const;
    mode_t setOwner(const FileDescriptor& entry, const DiskAttributes& attributes, mode_t mode);
    static mode_t copyOwner(const FileDescriptor& file, const struct stat& replaced);
    void addExtended(const FileDescriptor& entry, const Xattrs& xattrs);
    std::uint64_t copyBytes(const StoragePath& source, bool isSparse, const FileDescriptor& to);
    void writeSparse(std::size_t count, std::uint64_t offset, const FileDescriptor& to) const;
    bool isSourceExact() const noexcept { return source_.authority() == ExportSource::Authority::Source; }

    ExportSource& source_;
    ProgressMeter& progress_;
    const std::span<char> buffer_;
    const std::string place_;
    const RootAttributes rootAttributes_;
    const mode_t newFileMode_;
    const DiskOwner self_;
    std::unique_ptr<WritableFolder> above_; ///< contains the top; null if the top is only extended
    std::vector<OpenFolder> open_;
    std::map<std::uint64_t, LinkedFile> linked_; ///< by link group
    bool canAddNameless_ = true;                 ///< no attempt to add a file without a name has failed
    Losses lost_;
};

} // namespace storage::host
