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

[[noreturn]] void refuseInTheWay(const FileDescriptor& folder, const std::string& name) {
    throw CommandError(diskChild(folder.path(), name),
                       std::string(describe(DiskEntry::in(folder, name).kind)) + " is in the way");
}

enum class Origin { Made, Found };

Origin makeDiskFolder(WritableFolder& above, const std::string& name, mode_t mode) {
    const int made = above.change([&](int in) { return ::mkdirat(in, name.c_str(), mode); });
    if (made == 0) {
        return Origin::Made;
    }
    if (errno != EEXIST) {
        throw diskError(diskChild(above.descriptor().path(), name), errno);
    }
    if (DiskEntry::in(above.descriptor(), name).kind != DiskEntry::Kind::Folder) {
        refuseInTheWay(above.descriptor(), name);
    }
    return Origin::Found;
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
std::optional<struct stat> replacedFile(const FileDescriptor& folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt; // what else is wrong, creating the file reports
    }
    if (!S_ISREG(status.st_mode)) {
        refuseInTheWay(folder, name);
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
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void Exporter::run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes) {
    rootAttributes_ = rootAttributes;
    open_.clear(); // an interrupted run leaves its folders here
    above_ = {};
    TreeWalk walk(provider_, source);
    while (const auto step = walk.next()) {
        interruption_.check();
        console_.attempt(step->path.printed(), [&] { visit(walk, *step, target); });
    }
}

void Exporter::visit(TreeWalk& walk, const TreeWalk::Step& step, const std::string& target) {
    if (step.kind == StepKind::FolderDone) {
        const OpenFolder done = std::move(open_.back());
        open_.pop_back();
        leaveFolder(step, done);
        return;
    }
    if (step.depth == 0 && step.kind == StepKind::Folder && rootAttributes_ == RootAttributes::Untouched) {
        OpenFolder named = openNamed(target);
        TemporaryDiskFile::removeAbandonedFiles(*named.folder);
        enterFolder(walk, std::move(named));
        return;
    }
    if (step.depth == 0) {
        above_ = openAbove(target);
    }
    WritableFolder& folder = *(step.depth == 0 ? above_ : open_.back()).folder;
    const std::string name =
        step.depth == 0 ? target.substr(target.rfind('/') + 1) : toDiskName(step.name, step.path);
    if (step.kind == StepKind::Folder) {
        enterFolder(walk, makeFolder(folder, name, step.path));
    } else {
        exportFile(step.path, folder, name);
    }
}

/// The folder that the target is to stand in, which a link may lead to, as the user named it.
Exporter::OpenFolder Exporter::openAbove(const std::string& target) {
    try {
        return openNamed(diskParent(target));
    } catch (const CommandError& error) {
        throw CommandError(target, error.what());
    }
}

/// A folder that the user named and that is only added to: it keeps its attributes, and need not be readable.
Exporter::OpenFolder Exporter::openNamed(const std::string& target) {
    return {FileDescriptor(target, O_PATH | O_DIRECTORY), WritableFolder::ReadOnly::Respect};
}

Exporter::OpenFolder Exporter::makeFolder(WritableFolder& above, const std::string& name,
                                          const StoragePath& source) const {
    const std::optional<mode_t> mode = modeOf_(source);
    const Origin origin = makeDiskFolder(above, name, mode ? privateFolderMode : newFolderMode);
    // A folder that takes its attributes from the storage may have become read-only by an earlier export.
    OpenFolder made(FileDescriptor(above.descriptor(), name, O_RDONLY | O_DIRECTORY),
                    WritableFolder::ReadOnly::Lift);
    if (origin == Origin::Found) {
        TemporaryDiskFile::removeAbandonedFiles(*made.folder);
    } else if (mode) {
        const mode_t inherited =
            statusOf(made.folder->descriptor()).st_mode & S_ISGID; // from the folder above
        made.mode = *mode | inherited;
        made.folder->setModeAtEnd(*made.mode);
    }
    return made;
}

void Exporter::enterFolder(TreeWalk& walk, OpenFolder folder) {
    walk.descend();
    open_.push_back(std::move(folder));
    ++totals_.folders;
    progress_.countEntry();
}

/// Only now: what was added to the folder changed its time, and could not have been added to a read-only one.
void Exporter::leaveFolder(const TreeWalk::Step& step, const OpenFolder& done) {
    if (step.depth == 0 && rootAttributes_ == RootAttributes::Untouched) {
        return;
    }
    const FileDescriptor& folder = done.folder->descriptor();
    const auto attributes = provider_.doGetFolderAttributes(step.path.iri());
    const struct stat status = statusOf(folder);
    if (status.st_nlink == 0) {
        throw diskError(folder.path(), ENOENT);
    }
    setTime(folder, attributes.getLastModified());
    if (done.mode) {
        done.folder->setModeAtEnd(withFlag(*done.mode, attributes.isWritable()));
    } else if (!attributes.isWritable()) {
        done.folder->setModeAtEnd(status.st_mode & permissionBits & ~writeBits);
    }
    done.folder->setMode();
}

void Exporter::exportFile(const StoragePath& source, WritableFolder& folder, const std::string& name) {
    const auto replaced = replacedFile(folder.descriptor(), name);
    TemporaryDiskFile temporary(folder, name);
    const auto bytes = copyBytes(source, temporary.file());
    const auto attributes = provider_.doGetFileAttributes(source.iri());
    setTime(temporary.file(), attributes.getLastModified());
    const mode_t mode =
        replaced ? takeOver(temporary.file(), *replaced) : modeOf_(source).value_or(newFileMode_);
    setMode(temporary.file(), withFlag(mode, attributes.isWritable()));
    temporary.moveIntoPlace();
    totals_.bytes += bytes;
    ++totals_.files;
    progress_.countEntry();
}

unsigned long long Exporter::copyBytes(const StoragePath& source, const FileDescriptor& to) {
    ByteStreamDevice from(provider_.doOpenReadOnlyStream(source.iri()));
    unsigned long long copied = 0;
    std::streamsize count = 0;
    while ((count = from.read(buffer_.get(), transferBufferSize)) > 0) {
        const auto bytes = static_cast<std::size_t>(count);
        to.write(std::span(buffer_.get(), bytes));
        copied += bytes;
        progress_.countBytes(bytes);
        interruption_.check();
    }
    return copied;
}

} // namespace storage::host
