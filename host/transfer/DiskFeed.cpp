#include "host/transfer/DiskFeed.h"

#include "host/disk/DiskFolder.h"
#include "host/disk/DiskXattrs.h"
#include "host/disk/SystemFileSystem.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY;
// O_NONBLOCK: opening a fifo that has replaced the file would block until a writer opens it.
constexpr int fileFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;

} // namespace

DiskFeed::DiskFeed(std::string source, FileSystems fileSystems, const EntrySelection& selection,
                   Console& console)
    : source_(std::move(source)),
      fileSystems_(fileSystems),
      selection_(selection),
      console_(console),
      keepsOwners_(::geteuid() == 0) {}

const ImportFeed::Entry* DiskFeed::next() {
    file_.reset();
    if (!std::exchange(isBegun_, true)) {
        return takeTop() ? &entry_ : nullptr;
    }
    while (!open_.empty()) {
        Interruption::check();
        if (takeNext()) {
            return &entry_;
        }
    }
    return nullptr;
}

bool DiskFeed::takeTop() {
    const DiskEntry::Kind kind = DiskEntry::at(source_, DiskEntry::Links::Follow).kind;
    const bool isFolder = kind == DiskEntry::Kind::Folder;
    if (!isFolder && kind != DiskEntry::Kind::File) {
        throw CommandError(source_, std::string(host::describe(kind)) + ", not a file or folder");
    }
    const Verdict verdict = selection_.ofTop(toUtf16(diskName(source_)), isFolder);
    if (verdict == Verdict::Excluded) {
        return false;
    }
    if (!isFolder) {
        takeFile(FileDescriptor(source_, fileFlags), {});
        return true;
    }
    FileDescriptor folder(source_, folderFlags);
    requireFiles(folder);
    takeFolder(std::move(folder), {}, verdict);
    return true;
}

void DiskFeed::requireFiles(const FileDescriptor& folder) const {
    const char* const system = fileSystems_ == FileSystems::All ? nullptr : systemFileSystemOf(folder);
    if (system != nullptr) {
        throw CommandError(source_, fmt::format("on a {} file system, which stores no files; "
                                                "only 'import --one-file-system=no' reads it",
                                                system));
    }
}

/// Takes the next entry of the innermost open folder, or leaves the folder.
/// @return whether there is an entry
bool DiskFeed::takeNext() {
    OpenFolder& folder = open_.back();
    if (folder.next == folder.names.size()) {
        open_.pop_back();
        return false;
    }
    const std::string name = folder.names[folder.next++];
    bool isTaken = false;
    console_.attempt(diskChild(folder.descriptor.path(), name), [&] { isTaken = takeChild(folder, name); });
    return isTaken;
}

bool DiskFeed::takeChild(const OpenFolder& folder, const std::string& name) {
    const DiskEntry found = DiskEntry::in(folder.descriptor, name);
    const bool isFolder = found.kind == DiskEntry::Kind::Folder;
    const StoragePath path = folder.path.child(toUtf16(name));
    const Verdict verdict = selection_.ofChild(path, isFolder, folder.verdict);
    if (verdict == Verdict::Excluded) {
        return false;
    }
    if (isFolder) {
        takeFolder(FileDescriptor(folder.descriptor, name, folderFlags), path, verdict);
    } else if (found.kind == DiskEntry::Kind::File) {
        takeFile(FileDescriptor(folder.descriptor, name, fileFlags), path);
    } else {
        takeSpecial(folder, name, found, path);
    }
    return true;
}

void DiskFeed::takeFolder(FileDescriptor folder, const StoragePath& path, Verdict verdict) {
    const DiskEntry found = DiskEntry::of(folder);
    describe(found, folder.path(), path);
    entry_.attributes.xattrs = readXattrs(folder);
    entry_.isWanted = verdict == Verdict::Included;
    entry_.skipped = whySkipped(folder, found);
    auto names = entry_.skipped.empty() ? listDiskFolder(folder) : std::vector<std::string>();
    open_.push_back({std::move(folder), path, found.device, verdict, std::move(names), 0});
}

/// Why the file system that is mounted at a folder is not imported; empty if it is.
std::string DiskFeed::whySkipped(const FileDescriptor& folder, const DiskEntry& found) const {
    const bool isOther = !open_.empty() && open_.back().device != found.device;
    if (!isOther || fileSystems_ == FileSystems::All) {
        return {};
    }
    const char* const system = systemFileSystemOf(folder);
    if (system != nullptr) {
        return fmt::format("a {} file system", system);
    }
    return fileSystems_ == FileSystems::OfSource ? "another file system" : "";
}

void DiskFeed::takeFile(FileDescriptor file, const StoragePath& path) {
    const DiskEntry found = DiskEntry::of(file);
    if (found.kind != DiskEntry::Kind::File) {
        throw CommandError(file.path(), std::string("replaced by ") + host::describe(found.kind));
    }
    describe(found, file.path(), path);
    entry_.attributes.xattrs = readXattrs(file);
    isSparse_ = found.isSparse();
    offset_ = 0;
    extent_ = {};
    ::posix_fadvise(file.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    file_.emplace(std::move(file));
}

void DiskFeed::takeSpecial(const OpenFolder& folder, const std::string& name, const DiskEntry& found,
                           const StoragePath& path) {
    describe(found, diskChild(folder.descriptor.path(), name), path);
    if (found.kind == DiskEntry::Kind::SymbolicLink) {
        entry_.attributes.linkTarget = readDiskLink(folder.descriptor, name);
    }
}

/// Sets the current entry, except for link target and extended attributes.
void DiskFeed::describe(const DiskEntry& found, std::string place, const StoragePath& path) {
    entry_ = {};
    entry_.place = std::move(place);
    entry_.path = path;
    entry_.size = found.size;
    if (found.kind != DiskEntry::Kind::Folder && found.names > 1) {
        entry_.file = FileId{found.device, found.inode};
    }
    DiskAttributes& attributes = entry_.attributes;
    attributes.kind = found.kind;
    attributes.mode = found.mode;
    if (keepsOwners_) {
        attributes.owner = found.owner;
    }
    attributes.modified = found.modified;
    attributes.isSparse = found.isSparse();
    attributes.device = isDevice(found.kind) ? found.number : 0;
}

void DiskFeed::skipBelow(const StoragePath& folder) {
    while (!open_.empty() && folder.contains(open_.back().path)) {
        open_.pop_back();
    }
}

std::uint64_t DiskFeed::skipHole() {
    if (!isSparse_ || offset_ < extent_.end || offset_ >= entry_.size) {
        return 0;
    }
    const std::uint64_t begin = offset_;
    if (const auto extent = nextExtent(*file_, offset_, entry_.size)) {
        extent_ = *extent;
        offset_ = extent_.begin;
    } else {
        offset_ = entry_.size;
        ::lseek(file_->number(), static_cast<off_t>(offset_), SEEK_SET);
    }
    return offset_ - begin;
}

std::size_t DiskFeed::read(std::span<char> buffer) {
    const bool isInExtent = isSparse_ && offset_ < extent_.end;
    const std::size_t wanted =
        isInExtent ? std::min<std::uint64_t>(extent_.end - offset_, buffer.size()) : buffer.size();
    const std::size_t count = file_->read(buffer.first(wanted));
    offset_ += count;
    return count;
}

} // namespace storage::host
