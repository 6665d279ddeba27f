#include "host/mount/MountExportSource.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskXattrs.h"
#include "host/mount/EntryName.h"
#include "host/mount/ErrnoError.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

namespace {

class MountedFileReader final : public ExportSource::Reader {
public:
    MountedFileReader(MountedStorage& storage, FileInode& file) : storage_(storage), file_(file) {}

    std::uint64_t skipHole() override {
        const std::uint64_t end = positionOf(&MountedStorage::seekData);
        return end - std::exchange(offset_, end);
    }

    std::size_t read(std::span<char> buffer) override {
        const std::uint64_t end = positionOf(&MountedStorage::seekHole);
        const std::size_t wanted = std::min<std::uint64_t>(buffer.size(), end - offset_);
        const std::size_t count = storage_.read(file_, offset_, buffer.first(wanted));
        offset_ += count;
        return count;
    }

private:
    using Seek = std::uint64_t (MountedStorage::*)(FileInode&, std::uint64_t);

    /// The start of the next data or the next hole; the end of the file if there is none.
    std::uint64_t positionOf(Seek seek) {
        try {
            return (storage_.*seek)(file_, offset_);
        } catch (const ErrnoError& error) {
            if (error.number() != ENXIO) {
                throw;
            }
            return static_cast<std::uint64_t>(storage_.status(file_).st_size);
        }
    }

    MountedStorage& storage_;
    FileInode& file_;
    std::uint64_t offset_ = 0;
};

Xattrs xattrsOf(MountedStorage& storage, Inode& inode) {
    Xattrs xattrs;
    const std::string names = storage.listExtended(inode, ExtendedAttributeSet::Names::All);
    for (std::size_t begin = 0; begin < names.size();) {
        const std::string name = names.data() + begin;
        begin += name.size() + 1;
        if (isCarriedXattr(name)) {
            xattrs.emplace(name, storage.getExtended(inode, name));
        }
    }
    return xattrs;
}

} // namespace

EntryKind MountExportSource::kindOf(const StoragePath& path) {
    return entryKindOf(storage_.status(paths_.at(path)).st_mode);
}

/// The memory for a part must be small: the export begins when the storage may have used all memory.
ExportSource::Part MountExportSource::childrenFrom(const StoragePath& folder, std::uint64_t position) {
    constexpr std::size_t largestPart = 256;
    Part part;
    std::vector<Child>& children = part.children;
    const auto take = [&](const std::string& name, const MountedStorage::Found& entry, std::uint64_t at) {
        if (children.size() == largestPart) {
            part.next = position;
            return false;
        }
        if (name != "." && name != "..") {
            children.push_back({storageNameOf(name), entryKindOf(entry.status.st_mode)});
        }
        position = at;
        return true;
    };
    storage_.list(paths_.folderAt(folder), position, MountedStorage::ListingDetail::Names, take);
    std::sort(children.begin(), children.end(),
              [](const Child& left, const Child& right) { return left.name < right.name; });
    return part;
}

ExportSource::Entry MountExportSource::entryAt(const StoragePath& path, EntryKind kind) {
    Inode& inode = paths_.at(path);
    const struct stat status = storage_.status(inode);
    DiskAttributes attributes;
    attributes.kind = kind;
    attributes.mode = status.st_mode & permissionBits;
    attributes.owner = DiskOwner{status.st_uid, status.st_gid};
    attributes.modified = status.st_mtim;
    attributes.device = status.st_rdev;
    attributes.xattrs = xattrsOf(storage_, inode);
    if (kind == EntryKind::SymbolicLink) {
        attributes.linkTarget = MountedStorage::readLink(inode);
    }
    if (kind != EntryKind::Folder && status.st_nlink > 1) {
        attributes.linkGroup = status.st_ino;
    }
    return {std::move(attributes), (status.st_mode & S_IWUSR) != 0};
}

std::uint64_t MountExportSource::sizeOf(const StoragePath& file) {
    return static_cast<std::uint64_t>(storage_.status(paths_.at(file)).st_size);
}

std::unique_ptr<ExportSource::Reader> MountExportSource::open(const StoragePath& file) {
    return std::make_unique<MountedFileReader>(storage_, static_cast<FileInode&>(paths_.at(file)));
}

} // namespace storage::host
