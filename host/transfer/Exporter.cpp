#include "host/transfer/Exporter.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/TemporaryDiskFile.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Umask.h"
#include "host/transfer/DiskName.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

using boost::posix_time::ptime;
using StepKind = TreeWalk::Step::Kind;

namespace {

constexpr mode_t newFolderMode = 0777;
constexpr mode_t privateFolderMode = 0700;
constexpr mode_t newFileMode = 0666;

void refuseInTheWay(const std::string& path, DiskEntry::Kind kind) {
    throw CommandError(path, std::string(describe(kind)) + " is in the way");
}

/// @return whether the folder is new
bool makeDiskFolder(const std::string& path, mode_t mode, DiskEntry::Links links) {
    if (::mkdir(path.c_str(), mode) == 0) {
        return true;
    }
    if (errno != EEXIST) {
        throw diskError(path, errno);
    }
    const DiskEntry existing = DiskEntry::at(path, links);
    if (existing.kind != DiskEntry::Kind::Folder) {
        refuseInTheWay(path, existing.kind);
    }
    return false;
}

struct stat statusOf(const FileDescriptor& entry) {
    struct stat status {};
    if (::fstat(entry.number(), &status) != 0) {
        throw diskError(entry.path(), errno);
    }
    return status;
}

void setMode(const FileDescriptor& entry, mode_t mode) {
    if (::fchmod(entry.number(), mode) != 0) {
        throw diskError(entry.path(), errno);
    }
}

void setTime(const FileDescriptor& entry, const ptime& lastModified) {
    const timespec times[2] = {{0, UTIME_OMIT}, toDiskTime(lastModified)};
    if (::futimens(entry.number(), times) != 0) {
        throw diskError(entry.path(), errno);
    }
}

/// Permissions that agree with the writable flag.
mode_t withFlag(mode_t mode, bool writable) {
    return writable ? mode | S_IWUSR : mode & ~writeBits;
}

/// The file that an export replaces.
/// @throws CommandError when something else is there; a device, for one, must not be replaced by a file
std::optional<struct stat> replacedFile(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return std::nullopt; // what else is wrong, creating the file reports
    }
    if (!S_ISREG(status.st_mode)) {
        refuseInTheWay(path, DiskEntry::at(path, DiskEntry::Links::Inspect).kind);
    }
    return status;
}

/// Gives a file the owner and group of another one.
/// @return the permission bits of the other one that the file may have: not to run as its owner or group if that failed
mode_t takeOver(const FileDescriptor& file, const struct stat& other) {
    const struct stat own = statusOf(file);
    const mode_t mode = other.st_mode & permissionBits;
    const bool isSame = own.st_uid == other.st_uid && own.st_gid == other.st_gid;
    if (isSame || ::fchown(file.number(), other.st_uid, other.st_gid) == 0) {
        return mode;
    }
    return mode & ~static_cast<mode_t>(S_ISUID | S_ISGID);
}

} // namespace

Exporter::Exporter(const IProvider& provider, Console& console, const Interruption& interruption,
                   ModeOf modeOf)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      modeOf_(std::move(modeOf)),
      newFileMode_(newFileMode & ~currentUmask()),
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
        const std::optional<mode_t> mode = open_.back().mode;
        open_.pop_back();
        leaveFolder(step, done, mode);
        return;
    }
    const std::string path =
        step.depth == 0 ? target : diskChild(open_.back().path, toDiskName(step.name, step.path));
    if (step.kind == StepKind::Folder) {
        enterFolder(walk, step.path, path);
    } else {
        exportFile(step.path, path);
    }
}

void Exporter::enterFolder(TreeWalk& walk, const StoragePath& source, const std::string& target) {
    // Only a folder that the user named, to be filled, may be reached through a link.
    const bool isNamed = open_.empty() && rootAttributes_ == RootAttributes::Untouched;
    std::optional<mode_t> mode = modeOf_(source);
    if (!makeDiskFolder(target, mode ? privateFolderMode : newFolderMode,
                        isNamed ? DiskEntry::Links::Follow : DiskEntry::Links::Inspect)) {
        mode.reset();
    }
    walk.descend();
    // A folder that takes its attributes from the storage may have become read-only by an earlier export.
    open_.push_back({target, isNamed ? nullptr : std::make_unique<const TemporaryWriteAccess>(target), mode});
    ++totals_.folders;
    progress_.countEntry();
}

/// Only now: what was added to the folder changed its time, and could not have been added to a read-only one.
void Exporter::leaveFolder(const TreeWalk::Step& step, const std::string& target,
                           std::optional<mode_t> mode) {
    if (step.depth == 0 && rootAttributes_ == RootAttributes::Untouched) {
        return;
    }
    const auto attributes = provider_.doGetFolderAttributes(step.path.iri());
    const FileDescriptor folder(target, O_RDONLY | O_DIRECTORY);
    setTime(folder, attributes.getLastModified());
    if (mode) {
        const mode_t inherited = statusOf(folder).st_mode & S_ISGID; // from the folder above
        setMode(folder, withFlag(*mode | inherited, attributes.isWritable()));
    } else if (!attributes.isWritable()) {
        setMode(folder, statusOf(folder).st_mode & permissionBits & ~writeBits);
    }
}

void Exporter::exportFile(const StoragePath& source, const std::string& target) {
    const auto replaced = replacedFile(target);
    TemporaryDiskFile temporary(target);
    try {
        const auto bytes = copyBytes(source, temporary.file());
        const auto attributes = provider_.doGetFileAttributes(source.iri());
        setTime(temporary.file(), attributes.getLastModified());
        const mode_t mode =
            replaced ? takeOver(temporary.file(), *replaced) : modeOf_(source).value_or(newFileMode_);
        setMode(temporary.file(), withFlag(mode, attributes.isWritable()));
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
