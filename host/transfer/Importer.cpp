#include "host/transfer/Importer.h"

#include "host/disk/DiskExtents.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/DiskXattrs.h"
#include "host/disk/SystemFileSystem.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>
#include <span>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY;
// Not blocking: a fifo that has taken the file's place would wait for a writer forever.
constexpr int fileFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;

/// How much of a file is written first. A provider makes the room for a file by some power of two larger whenever it runs out,
/// and copies what it has: with this block the room ends as large as the file, and least is copied.
/// @param size  what the disk says, which is 0 for some files that are not empty
std::size_t firstBlock(unsigned long long size) {
    constexpr unsigned long long growth = 8;
    while (size > transferBufferSize) {
        size = (size + growth - 1) / growth;
    }
    return size == 0 ? transferBufferSize : size;
}

} // namespace

Importer::Importer(ImportTarget& target, Console& console, const Interruption& interruption,
                   ImportLog& imports, FileSystems fileSystems)
    : target_(target),
      console_(console),
      interruption_(interruption),
      imports_(imports),
      fileSystems_(fileSystems),
      keepsOwners_(::geteuid() == 0),
      progress_(console),
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void Importer::run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes) {
    open_.clear(); // an interrupted run leaves its folders here
    target_.leaveAll();
    linked_.clear();
    const DiskEntry::Kind kind = DiskEntry::at(source, DiskEntry::Links::Follow).kind;
    target_.requirePlace(target);
    switch (kind) {
    case DiskEntry::Kind::Folder:
        importTree(source, target, rootAttributes);
        break;
    case DiskEntry::Kind::File:
        importFile(FileDescriptor(source, fileFlags), target);
        logImport(source, target, RootAttributes::FromSource);
        break;
    default:
        throw CommandError(source, std::string(describe(kind)) + ", not a file or folder");
    }
}

void Importer::importTree(const std::string& source, const StoragePath& target,
                          RootAttributes rootAttributes) {
    FileDescriptor folder(source, folderFlags);
    const char* const system = fileSystems_ == FileSystems::All ? nullptr : systemFileSystemOf(folder);
    if (system != nullptr) {
        throw CommandError(source, fmt::format("on {}, a file system that keeps no files; "
                                               "--one-file-system=no imports it all the same",
                                               system));
    }
    enterFolder(std::move(folder), target, rootAttributes);
    logImport(source, target, rootAttributes); // from here on, whatever is missing is for a check to find
    while (!open_.empty()) {
        interruption_.check();
        importNext();
    }
}

void Importer::logImport(const std::string& source, const StoragePath& target,
                         RootAttributes rootAttributes) {
    using Scope = ImportSource::Scope;
    imports_.add(source, target,
                 rootAttributes == RootAttributes::FromSource ? Scope::Whole : Scope::ContentOnly);
}

/// One step: the next entry of the innermost open folder, or the folder's end.
void Importer::importNext() {
    OpenFolder& folder = open_.back();
    if (folder.next == folder.names.size()) {
        const OpenFolder done = std::move(folder);
        open_.pop_back();
        console_.attempt(done.target.printed(), [&] { leaveFolder(done); });
        return;
    }
    const std::string name = folder.names[folder.next++];
    const std::string source = diskChild(folder.source.path(), name);
    const StoragePath target = folder.target.child(toUtf16(name));
    console_.attempt(source, [&] { importChild(folder.source, name, target); });
}

void Importer::importChild(const FileDescriptor& folder, const std::string& name, const StoragePath& target) {
    const DiskEntry entry = DiskEntry::in(folder, name);
    switch (entry.kind) {
    case DiskEntry::Kind::Folder:
        enterFolder(FileDescriptor(folder, name, folderFlags), target, RootAttributes::FromSource);
        break;
    case DiskEntry::Kind::File:
        importFile(FileDescriptor(folder, name, fileFlags), target);
        break;
    default:
        importSpecial(folder, name, entry, target);
    }
}

void Importer::enterFolder(FileDescriptor source, const StoragePath& target, RootAttributes keeps) {
    const DiskEntry entry = DiskEntry::of(source);
    DiskAttributes attributes = attributesOf(entry);
    const bool isWhole = keeps == RootAttributes::FromSource;
    if (isWhole) {
        noticeTime(source.path(), entry);
        attributes.xattrs = readXattrs(source);
    }
    auto names = namesIn(source, entry);
    target_.enterFolder(target, isWhole ? &attributes : nullptr);
    open_.push_back({std::move(source), target, entry, std::move(attributes), keeps, std::move(names), 0});
    ++totals_.folders;
    progress_.countEntry();
}

/// The entries of a folder that are to be imported: none where another file system begins that is to be left out.
std::vector<std::string> Importer::namesIn(const FileDescriptor& folder, const DiskEntry& entry) {
    const bool isOther = !open_.empty() && open_.back().entry.device != entry.device;
    if (isOther && fileSystems_ != FileSystems::All) {
        const char* const system = systemFileSystemOf(folder);
        if (system != nullptr || fileSystems_ == FileSystems::OfSource) {
            ++totals_.skipped;
            console_.notice(folder.path(), fmt::format("its content is skipped, {}",
                                                       system == nullptr ? "another file system"
                                                                         : fmt::format("on {}", system)));
            return {};
        }
    }
    return listDiskFolder(folder);
}

/// Only now: what was added to the folder changed its time, and could not have been added to a read-only one.
void Importer::leaveFolder(const OpenFolder& folder) {
    target_.leaveFolder(folder.target,
                        folder.keeps == RootAttributes::FromSource ? &folder.attributes : nullptr);
}

void Importer::importFile(const FileDescriptor& from, const StoragePath& target) {
    const DiskEntry entry = DiskEntry::of(from);
    if (entry.kind != DiskEntry::Kind::File) {
        throw CommandError(from.path(), std::string("became ") + describe(entry.kind));
    }
    noticeTime(from.path(), entry);
    if (entry.names > 1) {
        importLinkedFile(from, entry, target);
    } else {
        copyFile(from, entry, target, 0);
    }
    ++totals_.files;
    progress_.countEntry();
}

/// A file of the disk that may have been imported under another name. It is a new one if it was changed since.
void Importer::importLinkedFile(const FileDescriptor& from, const DiskEntry& entry,
                                const StoragePath& target) {
    const FileId id{entry.device, entry.inode};
    const auto known = linked_.find(id);
    const bool isSame = known != linked_.end() && known->second.size == entry.size &&
                        known->second.modified.tv_sec == entry.modified.tv_sec &&
                        known->second.modified.tv_nsec == entry.modified.tv_nsec;
    if (isSame && target_.link(known->second.path, target)) {
        return;
    }
    const std::uint64_t group = isSame ? known->second.group : target_.newLinkGroup();
    copyFile(from, entry, target, group);
    if (!isSame) {
        linked_.insert_or_assign(id, LinkedFile{target, group, entry.size, entry.modified});
    }
}

void Importer::copyFile(const FileDescriptor& from, const DiskEntry& entry, const StoragePath& target,
                        std::uint64_t linkGroup) {
    const auto file = target_.makeFile(target);
    const auto bytes = copyBytes(from, entry, *file);
    DiskAttributes attributes = attributesOf(entry);
    attributes.xattrs = readXattrs(from);
    attributes.linkGroup = linkGroup;
    file->finish(attributes);
    totals_.bytes += bytes;
}

unsigned long long Importer::copyBytes(const FileDescriptor& from, const DiskEntry& entry,
                                       ImportTarget::File& to) {
    ::posix_fadvise(from.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    unsigned long long copied = entry.isSparse() ? copyExtents(from, entry.size, to) : 0;
    std::size_t wanted = firstBlock(entry.size);
    while (const std::size_t count = from.read(std::span(buffer_.get(), wanted), interruption_)) {
        to.write(std::span(buffer_.get(), count));
        copied += count;
        countCopied(count);
        wanted = transferBufferSize;
    }
    return copied;
}

/// Copies a file with its holes, as far as it went when it was asked for its size.
unsigned long long Importer::copyExtents(const FileDescriptor& from, std::uint64_t size,
                                         ImportTarget::File& to) {
    std::uint64_t offset = 0;
    while (const auto extent = nextExtent(from, offset, size)) {
        to.writeHole(extent->begin - offset);
        for (offset = extent->begin; offset < extent->end;) {
            const std::size_t wanted = std::min<std::uint64_t>(extent->end - offset, transferBufferSize);
            const std::size_t count = from.read(std::span(buffer_.get(), wanted), interruption_);
            if (count == 0) {
                return offset; // it has become shorter
            }
            to.write(std::span(buffer_.get(), count));
            offset += count;
            countCopied(count);
        }
    }
    to.writeHole(size - offset);
    ::lseek(from.number(), static_cast<off_t>(size), SEEK_SET);
    return size;
}

void Importer::countCopied(std::size_t count) {
    progress_.countBytes(count);
    interruption_.check();
}

void Importer::importSpecial(const FileDescriptor& folder, const std::string& name, const DiskEntry& entry,
                             const StoragePath& target) {
    const std::string path = diskChild(folder.path(), name);
    if (entry.kind == DiskEntry::Kind::Socket || (isDevice(entry.kind) && !keepsOwners_)) {
        ++totals_.skipped;
        console_.notice(path, std::string("skipped, ") + describe(entry.kind));
        return;
    }
    noticeTime(path, entry);
    DiskAttributes attributes = attributesOf(entry);
    const bool isLink = entry.kind == DiskEntry::Kind::SymbolicLink;
    if (isLink) {
        attributes.linkTarget = readDiskLink(folder, name);
    }
    makeSpecial(entry, target, std::move(attributes));
    ++(isLink ? totals_.symbolicLinks : totals_.specialFiles);
    progress_.countEntry();
}

/// Such entries can have several names, too.
void Importer::makeSpecial(const DiskEntry& entry, const StoragePath& target, DiskAttributes attributes) {
    if (entry.names == 1) {
        target_.makeSpecial(target, attributes);
        return;
    }
    const FileId id{entry.device, entry.inode};
    const auto known = linked_.find(id);
    if (known != linked_.end() && target_.link(known->second.path, target)) {
        return;
    }
    attributes.linkGroup = known != linked_.end() ? known->second.group : target_.newLinkGroup();
    target_.makeSpecial(target, attributes);
    linked_.insert_or_assign(id, LinkedFile{target, attributes.linkGroup, entry.size, entry.modified});
}

/// Without what has to be read from the entry itself.
DiskAttributes Importer::attributesOf(const DiskEntry& entry) const {
    DiskAttributes attributes;
    attributes.kind = entry.kind;
    attributes.mode = entry.mode;
    if (keepsOwners_) {
        attributes.owner = entry.owner;
    }
    attributes.modified = entry.modified;
    attributes.isSparse = entry.isSparse();
    attributes.device = isDevice(entry.kind) ? entry.number : 0;
    return attributes;
}

void Importer::noticeTime(const std::string& source, const DiskEntry& entry) {
    if (entry.hasFarTime) {
        console_.notice(source, "its time is outside the years 1400 to 9999 and kept as " +
                                    formatSeconds(entry.lastModified));
    }
}

} // namespace storage::host
