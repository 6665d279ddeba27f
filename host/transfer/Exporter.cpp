#include "host/transfer/Exporter.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/TemporaryDiskFile.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/transfer/DiskName.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace storage::host {

using boost::posix_time::ptime;
using StepKind = TreeWalk::Step::Kind;

namespace {

constexpr mode_t newFolderMode = 0777;

void refuseInTheWay(const std::string& path, DiskEntry::Kind kind) {
    throw CommandError(path, std::string(describe(kind)) + " is in the way");
}

void makeDiskFolder(const std::string& path, DiskEntry::Links links) {
    if (::mkdir(path.c_str(), newFolderMode) == 0) {
        return;
    }
    if (errno != EEXIST) {
        throw diskError(path, errno);
    }
    const DiskEntry existing = DiskEntry::at(path, links);
    if (existing.kind != DiskEntry::Kind::Folder) {
        refuseInTheWay(path, existing.kind);
    }
}

void removeWriteBits(const FileDescriptor& entry) {
    struct stat status {};
    if (::fstat(entry.number(), &status) != 0 ||
        ::fchmod(entry.number(), status.st_mode & permissionBits & ~writeBits) != 0) {
        throw diskError(entry.path(), errno);
    }
}

void applyAttributes(const FileDescriptor& entry, const ptime& lastModified, bool writable) {
    const timespec times[2] = {{0, UTIME_OMIT}, toDiskTime(lastModified)};
    if (::futimens(entry.number(), times) != 0) {
        throw diskError(entry.path(), errno);
    }
    if (!writable) {
        removeWriteBits(entry);
    }
}

} // namespace

Exporter::Exporter(const IProvider& provider, Console& console, const Interruption& interruption)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      progress_(console),
      buffer_(transferBufferSize) {}

void Exporter::run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes) {
    rootAttributes_ = rootAttributes;
    open_.clear();
    TreeWalk walk(provider_, source);
    while (const auto step = walk.next()) {
        interruption_.check();
        console_.attempt(step->path.printed(), [&] { visit(walk, *step, target); });
    }
}

void Exporter::visit(TreeWalk& walk, const TreeWalk::Step& step, const std::string& target) {
    if (step.kind == StepKind::FolderDone) {
        const std::string done = std::move(open_.back().path);
        open_.pop_back();
        leaveFolder(step, done);
        return;
    }
    const std::string path =
        step.depth == 0 ? target : diskChild(open_.back().path, toDiskName(step.name, step.path));
    if (step.kind == StepKind::Folder) {
        enterFolder(walk, path);
    } else {
        exportFile(step.path, path);
    }
}

void Exporter::enterFolder(TreeWalk& walk, const std::string& target) {
    // Only a folder that the user named, to be filled, may be reached through a link.
    const bool isNamed = open_.empty() && rootAttributes_ == RootAttributes::Untouched;
    makeDiskFolder(target, isNamed ? DiskEntry::Links::Follow : DiskEntry::Links::Inspect);
    walk.descend();
    // A folder that takes its attributes from the storage may have become read-only by an earlier export.
    open_.push_back({target, isNamed ? nullptr : std::make_unique<const TemporaryWriteAccess>(target)});
    ++totals_.folders;
    progress_.countEntry();
}

/// Only now: what was added to the folder changed its time, and could not have been added to a read-only one.
void Exporter::leaveFolder(const TreeWalk::Step& step, const std::string& target) {
    if (step.depth == 0 && rootAttributes_ == RootAttributes::Untouched) {
        return;
    }
    const auto attributes = provider_.doGetFolderAttributes(step.path.iri());
    applyAttributes(FileDescriptor(target, O_RDONLY | O_DIRECTORY), attributes.getLastModified(),
                    attributes.isWritable());
}

void Exporter::exportFile(const StoragePath& source, const std::string& target) {
    if (DiskEntry::exists(target)) {
        const auto kind = DiskEntry::at(target, DiskEntry::Links::Inspect).kind;
        if (kind != DiskEntry::Kind::File) { // a device, for one, must not be replaced by a file
            refuseInTheWay(target, kind);
        }
    }
    TemporaryDiskFile temporary(target);
    try {
        const auto bytes = copyBytes(source, temporary.file());
        const auto attributes = provider_.doGetFileAttributes(source.iri());
        applyAttributes(temporary.file(), attributes.getLastModified(), attributes.isWritable());
        temporary.moveIntoPlace();
        totals_.bytes += bytes;
    } catch (const CommandError& error) { // the name of the temporary file would tell the user nothing
        throw CommandError(target, error.what());
    }
    ++totals_.files;
    progress_.countEntry();
}

unsigned long long Exporter::copyBytes(const StoragePath& source, const FileDescriptor& to) {
    ByteStreamDevice from(provider_.doOpenReadOnlyStream(source.iri()));
    unsigned long long copied = 0;
    std::streamsize count = 0;
    while ((count = from.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()))) > 0) {
        const auto bytes = static_cast<std::size_t>(count);
        to.write(std::span(buffer_).first(bytes));
        copied += bytes;
        progress_.countBytes(bytes);
        interruption_.check();
    }
    return copied;
}

} // namespace storage::host
