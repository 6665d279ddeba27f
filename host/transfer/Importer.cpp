#include "host/transfer/Importer.h"

#include "host/disk/DiskFolder.h"
#include "host/disk/SystemFileSystem.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TemporaryStorageFile.h"
#include "host/storage/UnfinishedFile.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <new>
#include <span>
#include <utility>

namespace storage::host {

using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::StorageIRI;

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

Importer::Importer(const IProvider& provider, Console& console, const Interruption& interruption,
                   ImportLog& imports, EntryModes& modes, FileSystems fileSystems)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      imports_(imports),
      modes_(modes),
      fileSystems_(fileSystems),
      progress_(console),
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void Importer::run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes) {
    const DiskEntry::Kind kind = DiskEntry::at(source, DiskEntry::Links::Follow).kind;
    refuseFileAbove(provider_, target);
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
    open_.clear(); // an interrupted run leaves its folders here
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
        OpenFolder done = std::move(folder);
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
    const DiskEntry::Kind kind = DiskEntry::in(folder, name).kind;
    switch (kind) {
    case DiskEntry::Kind::Folder:
        enterFolder(FileDescriptor(folder, name, folderFlags), target, RootAttributes::FromSource);
        break;
    case DiskEntry::Kind::File:
        importFile(FileDescriptor(folder, name, fileFlags), target);
        break;
    default:
        ++totals_.skipped;
        console_.notice(diskChild(folder.path(), name), std::string("skipped, ") + describe(kind));
    }
}

void Importer::enterFolder(FileDescriptor source, const StoragePath& target, RootAttributes keeps) {
    const DiskEntry attributes = DiskEntry::of(source);
    if (keeps == RootAttributes::FromSource) {
        noticeTime(source, attributes);
    }
    auto names = namesIn(source, attributes);
    OpenFolder folder{std::move(source), target, attributes, keeps, nullptr, std::move(names), 0};
    if (!provider_.doFolderExists(target.iri())) {
        provider_.doCreateFolder(target.iri());
    } else if (keeps == RootAttributes::FromSource) { // an earlier import may have made it read-only
        folder.lifted = std::make_unique<const LiftedFolderFlag>(provider_, target);
    }
    if (keeps == RootAttributes::FromSource) { // also of a folder that an interruption leaves incomplete
        modes_.set(target, EntryModes::Kind::Folder, attributes.mode);
    }
    open_.push_back(std::move(folder));
    ++totals_.folders;
    progress_.countEntry();
}

/// The entries of a folder that are to be imported: none where another file system begins that is to be left out.
std::vector<std::string> Importer::namesIn(const FileDescriptor& folder, const DiskEntry& attributes) {
    const bool isOther = !open_.empty() && open_.back().attributes.device != attributes.device;
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
void Importer::leaveFolder(OpenFolder& folder) {
    folder.lifted.reset();
    if (folder.keeps == RootAttributes::FromSource) {
        applyAttributes(folder.target, folder.attributes);
    }
}

void Importer::importFile(const FileDescriptor& from, const StoragePath& target) {
    const DiskEntry attributes = DiskEntry::of(from);
    if (attributes.kind != DiskEntry::Kind::File) {
        throw CommandError(from.path(), std::string("became ") + describe(attributes.kind));
    }
    noticeTime(from, attributes);
    if (provider_.doFileExists(target.iri())) {
        replaceFile(from, target);
    } else {
        createFile(from, target);
    }
    modes_.set(target, EntryModes::Kind::File, attributes.mode);
    applyAttributes(target, attributes);
    ++totals_.files;
    progress_.countEntry();
}

void Importer::createFile(const FileDescriptor& from, const StoragePath& target) {
    const StorageIRI iri = target.iri();
    UnfinishedFile file(provider_, iri);
    const auto bytes = copyBytes(from, target);
    file.finish();
    totals_.bytes += bytes;
}

void Importer::replaceFile(const FileDescriptor& from, const StoragePath& target) {
    TemporaryStorageFile replacement(provider_, target);
    unsigned long long bytes = 0;
    try {
        bytes = copyBytes(from, replacement.path());
    } catch (const std::bad_alloc&) {
        throw CommandError(from.path(),
                           "out of memory: " + target.printed() +
                               " is kept until it can be replaced, and there is no room for both");
    }
    replacement.moveIntoPlace();
    totals_.bytes += bytes;
}

unsigned long long Importer::copyBytes(const FileDescriptor& from, const StoragePath& target) {
    ByteStreamDevice to(provider_.doOpenStream(target.iri(), {.content = ByteStreamContent::Empty}));
    ::posix_fadvise(from.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    unsigned long long copied = 0;
    std::size_t wanted = firstBlock(DiskEntry::of(from).size);
    while (const std::size_t count = from.read(std::span(buffer_.get(), wanted), interruption_)) {
        to.write(buffer_.get(), static_cast<std::streamsize>(count));
        copied += count;
        progress_.countBytes(count);
        interruption_.check();
        wanted = transferBufferSize;
    }
    return copied;
}

void Importer::noticeTime(const FileDescriptor& source, const DiskEntry& attributes) {
    if (attributes.hasFarTime) {
        console_.notice(source.path(), "its time is outside the years 1400 to 9999 and kept as " +
                                           formatSeconds(attributes.lastModified));
    }
}

void Importer::applyAttributes(const StoragePath& target, const DiskEntry& attributes) {
    provider_.doSetLastModified(target.iri(), attributes.lastModified);
    provider_.doSetWritable(target.iri(), attributes.writable);
}

} // namespace storage::host
