#include "host/transfer/DiskExportTarget.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskExtents.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/DiskNode.h"
#include "host/disk/DiskOwnership.h"
#include "host/disk/DiskXattrs.h"
#include "host/disk/NamelessDiskFile.h"
#include "host/disk/TemporaryDiskFile.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/DefaultMode.h"
#include "host/support/Interruption.h"
#include "host/support/Umask.h"
#include "host/transfer/DiskName.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr mode_t newFolderMode = 0777;
constexpr mode_t privateFolderMode = 0700;
constexpr mode_t privateNodeMode = 0600;

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
    if (DiskEntry::in(above.descriptor(), name).kind != EntryKind::Folder) {
        refuseInTheWay(above.descriptor(), name);
    }
    return Origin::Found;
}

void setMode(const FileDescriptor& entry, mode_t mode) {
    if (::fchmod(entry.number(), mode) != 0) {
        throw diskError(entry.path(), errno);
    }
}

void setTime(const FileDescriptor& entry, const timespec& modified) {
    const timespec times[2] = {{0, UTIME_OMIT}, modified};
    if (::futimens(entry.number(), times) != 0) {
        throw diskError(entry.path(), errno);
    }
}

/// Permission bits with write bits that match the writable flag.
mode_t withFlag(mode_t mode, bool writable) {
    return writable ? mode | S_IWUSR : mode & ~writeBits;
}

/// The entry that an export replaces.
/// @throws CommandError when the entry has another type: a file must not replace a device, for example
std::optional<struct stat> replacedEntry(const FileDescriptor& folder, const std::string& name, mode_t type) {
    struct stat status {};
    if (::fstatat(folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt; // other errors are reported when the entry is created
    }
    if ((status.st_mode & S_IFMT) != type) {
        refuseInTheWay(folder, name);
    }
    return status;
}

bool isZero(std::span<const char> bytes) {
    static constexpr std::array<char, holeUnit> zeros{};
    return std::memcmp(bytes.data(), zeros.data(), bytes.size()) == 0;
}

void skipTo(const FileDescriptor& file, std::uint64_t offset) {
    if (::lseek(file.number(), static_cast<off_t>(offset), SEEK_SET) < 0) {
        throw diskError(file.path(), errno);
    }
}

/// Opens a folder that the user named, following symbolic links. The folder is only extended: it keeps its
/// attributes, and need not be readable.
std::unique_ptr<WritableFolder> openNamed(const std::string& target) {
    return std::make_unique<WritableFolder>(FileDescriptor(target, O_PATH | O_DIRECTORY),
                                            WritableFolder::ReadOnly::Respect);
}

std::unique_ptr<WritableFolder> openAbove(const std::string& target) {
    try {
        return openNamed(diskParent(target));
    } catch (const CommandError& error) {
        throw CommandError(target, error.what());
    }
}

} // namespace

DiskExportTarget::DiskExportTarget(ExportSource& source, ProgressMeter& progress, std::span<char> buffer,
                                   std::string place, RootAttributes rootAttributes)
    : source_(source),
      progress_(progress),
      buffer_(buffer),
      place_(std::move(place)),
      rootAttributes_(rootAttributes),
      newFileMode_(defaultMode(EntryKind::File, currentUmask())),
      self_{::geteuid(), ::getegid()} {}

std::optional<ExportTarget::Existing> DiskExportTarget::find(const std::string& place) {
    try {
        const bool isFilled = place == place_ && rootAttributes_ == RootAttributes::Untouched;
        const DiskEntry found =
            DiskEntry::at(place, isFilled ? DiskEntry::Links::Follow : DiskEntry::Links::Inspect);
        return Existing{found.kind, found.size, found.modified};
    } catch (const CommandError&) {
        return std::nullopt; // the error is reported when the entry is created
    }
}

std::string DiskExportTarget::placeIn(const std::string& folder, const std::string& name) const {
    return diskChild(folder, name);
}

WritableFolder& DiskExportTarget::innermost() {
    if (!open_.empty()) {
        return *open_.back().folder;
    }
    if (!above_) {
        above_ = openAbove(place_);
    }
    return *above_;
}

void DiskExportTarget::enterFolder(const StoragePath& source, const std::string& name) {
    if (!open_.empty() || rootAttributes_ == RootAttributes::FromSource) {
        makeFolder(source, name);
        return;
    }
    auto named = openNamed(place_);
    TemporaryDiskFile::removeAbandonedFiles(*named);
    open_.push_back({std::make_shared<const StoragePath>(source), std::move(named), false, true});
}

void DiskExportTarget::makeFolder(const StoragePath& source, const std::string& name) {
    WritableFolder& above = innermost();
    const std::optional<mode_t> mode = source_.entryAt(source, EntryKind::Folder).attributes.mode;
    const Origin origin = makeDiskFolder(above, name, mode ? privateFolderMode : newFolderMode);
    // Lift: an earlier export may have made the folder read-only.
    auto made = std::make_unique<WritableFolder>(
        FileDescriptor(above.descriptor(), name, O_RDONLY | O_DIRECTORY), WritableFolder::ReadOnly::Lift);
    if (origin == Origin::Found) {
        TemporaryDiskFile::removeAbandonedFiles(*made);
    } else if (mode) {
        const mode_t inherited = statusOf(made->descriptor()).st_mode & S_ISGID; // from the folder above
        made->setModeAtEnd((*mode & ~setIdBits) | inherited); // if the folder is not completed
    }
    open_.push_back(
        {std::make_shared<const StoragePath>(source), std::move(made), origin == Origin::Made, false});
}

/// Sets the attributes last: adding entries changes the time, and requires a writable folder.
void DiskExportTarget::leaveFolder() {
    const OpenFolder done = std::move(open_.back());
    open_.pop_back();
    if (done.keepsOwn) {
        return;
    }
    const FileDescriptor& folder = done.folder->descriptor();
    const ExportSource::Entry entry = source_.entryAt(*done.source, EntryKind::Folder);
    const struct stat status = statusOf(folder);
    if (status.st_nlink == 0) {
        throw diskError(folder.path(), ENOENT);
    }
    if (isSourceExact()) {
        done.folder->setModeAtEnd(setOwner(folder, entry.attributes, entry.attributes.mode.value()));
        removeOtherXattrs(folder, entry.attributes.xattrs);
    } else if (done.isNew && (entry.attributes.mode || entry.attributes.owner)) {
        const mode_t known = entry.attributes.mode.value_or(status.st_mode & permissionBits);
        const mode_t mode = setOwner(folder, entry.attributes, known);
        const mode_t inherited = entry.attributes.owner ? 0 : status.st_mode & S_ISGID;
        done.folder->setModeAtEnd(withFlag(mode | inherited, entry.isWritable));
    } else if (!entry.isWritable) {
        done.folder->setModeAtEnd(status.st_mode & permissionBits & ~writeBits);
    }
    addExtended(folder, entry.attributes.xattrs);
    setTime(folder, entry.attributes.modified.value());
    done.folder->setMode();
}

std::uint64_t DiskExportTarget::addFile(const StoragePath& source, const std::string& name) {
    WritableFolder& folder = innermost();
    const ExportSource::Entry entry = source_.entryAt(source, EntryKind::File);
    const std::uint64_t group = entry.attributes.linkGroup;
    const bool mayBeNameless = canAddNameless_ && !open_.empty() && group == 0;
    // Only another program can have added the entry to a new folder. A nameless file detects it when it is
    // named.
    const bool isNewFolder = !open_.empty() && open_.back().isNew;
    const auto findReplaced = [&] { return replacedEntry(folder.descriptor(), name, S_IFREG); };
    auto replaced = mayBeNameless && isNewFolder ? std::nullopt : findReplaced();
    if (mayBeNameless && !replaced) {
        if (const auto bytes = addNewFile(source, entry, folder, name)) {
            return *bytes;
        }
        replaced = findReplaced();
    }
    if (group != 0 && linkTo(group, folder, name)) {
        return 0;
    }
    TemporaryDiskFile temporary(folder, name);
    const auto bytes = fill(temporary.file(), source, entry, replaced ? &*replaced : nullptr);
    std::optional<struct stat> linked;
    if (group != 0) {
        linked = statusOf(temporary.file());
    }
    temporary.moveIntoPlace();
    if (linked) {
        rememberLink(group, source, name, *linked);
    }
    return bytes;
}

/// Adds a file where no entry exists. Takes fewer system calls than a temporary name and a rename.
/// @return the number of its bytes; nothing if an entry exists, or if files without a name cannot be created
///     or named
std::optional<std::uint64_t> DiskExportTarget::addNewFile(const StoragePath& source,
                                                          const ExportSource::Entry& entry,
                                                          WritableFolder& folder, const std::string& name) {
    auto file = NamelessDiskFile::create(folder, name);
    canAddNameless_ = file.has_value();
    if (!file) {
        return std::nullopt;
    }
    const Losses lostBefore = lost_;
    const auto bytes = fill(file->file(), source, entry, nullptr);
    const int error = file->moveIntoPlace();
    if (error == 0) {
        return bytes;
    }
    canAddNameless_ = error == EEXIST;
    lost_ = lostBefore; // the file is written again
    return std::nullopt;
}

/// Writes the content of a file and sets its attributes.
/// @param replaced  the file of the disk that it replaces; null if there is none
/// @return the number of its bytes
std::uint64_t DiskExportTarget::fill(const FileDescriptor& file, const StoragePath& source,
                                     const ExportSource::Entry& entry, const struct stat* replaced) {
    const auto bytes = copyBytes(source, entry.attributes.isSparse, file);
    const mode_t mode = replaced != nullptr && !isSourceExact()
                            ? copyOwner(file, *replaced)
                            : setOwner(file, entry.attributes, entry.attributes.mode.value_or(newFileMode_));
    addExtended(file, entry.attributes.xattrs);
    setTime(file, entry.attributes.modified.value());
    setMode(file, isSourceExact() ? mode : withFlag(mode, entry.isWritable));
    return bytes;
}

bool DiskExportTarget::addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) {
    WritableFolder& folder = innermost();
    const mode_t type = fileTypeOf(kind);
    replacedEntry(folder.descriptor(), name, type);
    const DiskAttributes attributes = source_.entryAt(source, kind).attributes;
    const std::uint64_t group = attributes.linkGroup;
    if (group != 0 && linkTo(group, folder, name)) {
        return true;
    }
    const auto make = [&](int in, const char* temporary) {
        return kind == EntryKind::SymbolicLink
                   ? ::symlinkat(attributes.linkTarget.c_str(), in, temporary)
                   : ::mknodat(in, temporary, type | privateNodeMode, attributes.device);
    };
    struct stat status {};
    const auto finish = [&](const FileDescriptor& in, const std::string& temporary) {
        status = finishSpecial(in, temporary, attributes);
    };
    if (const int error = makeDiskNode(folder, name, make, finish); error != 0) {
        throw diskError(diskChild(folder.descriptor().path(), name), error);
    }
    if (group != 0) {
        rememberLink(group, source, name, status);
    }
    return true;
}

/// Sets the attributes of a new entry by its descriptor, because its name may refer to another entry by now.
struct stat DiskExportTarget::finishSpecial(const FileDescriptor& folder, const std::string& name,
                                            const DiskAttributes& attributes) {
    const FileDescriptor entry(folder, name, O_PATH);
    const struct stat status = statusOf(entry);
    if ((status.st_mode & S_IFMT) != fileTypeOf(attributes.kind) || status.st_nlink != 1) {
        throw diskError(diskChild(folder.path(), name), ESTALE);
    }
    const mode_t mode = setOwner(entry, attributes, attributes.mode.value_or(privateNodeMode));
    const std::string own = "/proc/self/fd/" + std::to_string(entry.number());
    if (attributes.kind != EntryKind::SymbolicLink && ::chmod(own.c_str(), mode) != 0) {
        throw diskError(entry.path(), errno);
    }
    const timespec times[2] = {{0, UTIME_OMIT}, attributes.modified.value_or(timespec{0, UTIME_OMIT})};
    if (::utimensat(folder.number(), name.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
        throw diskError(entry.path(), errno);
    }
    return status;
}

void DiskExportTarget::rememberLink(std::uint64_t group, const StoragePath& source, const std::string& name,
                                    const struct stat& status) {
    const auto folder =
        open_.empty() ? std::make_shared<const StoragePath>(source.parent()) : open_.back().source;
    linked_.insert_or_assign(group, LinkedFile{folder, name, status.st_dev, status.st_ino});
}

/// Creates a hard link of a file that this run has exported.
/// @return false if there is no such file, it was replaced, or the disk does not support hard links
bool DiskExportTarget::linkTo(std::uint64_t group, WritableFolder& folder, const std::string& name) {
    const auto known = linked_.find(group);
    if (known == linked_.end()) {
        return false;
    }
    const LinkedFile& file = known->second;
    try {
        const FileDescriptor from = openExported(*file.folder);
        const auto make = [&](int in, const char* temporary) {
            if (::linkat(from.number(), file.name.c_str(), in, temporary, 0) != 0) {
                return -1;
            }
            struct stat status {};
            if (::fstatat(in, temporary, &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_dev == file.device &&
                status.st_ino == file.inode) {
                return 0;
            }
            ::unlinkat(in, temporary, 0);
            errno = ESTALE;
            return -1;
        };
        return makeDiskNode(folder, name, make, [](const FileDescriptor&, const std::string&) {}) == 0;
    } catch (const CommandError&) {
        return false; // the error is reported when the file is written
    }
}

/// Opens a folder that this run has exported, without following symbolic links.
FileDescriptor DiskExportTarget::openExported(const StoragePath& folder) const {
    const auto above = std::find_if(open_.rbegin(), open_.rend(),
                                    [&](const OpenFolder& open) { return open.source->contains(folder); });
    std::vector<StoragePath> below;
    for (StoragePath path = folder; path != *above->source; path = path.parent()) {
        below.push_back(path);
    }
    constexpr int flags = O_PATH | O_DIRECTORY;
    std::optional<FileDescriptor> reached(above->folder->descriptor().duplicate());
    while (!below.empty()) {
        const StoragePath& next = below.back();
        reached.emplace(FileDescriptor(*reached, toDiskName(next.name(), next), flags));
        below.pop_back();
    }
    return std::move(*reached);
}

/// Sets the owner if it is known.
/// @return `mode` without the set-ID bits that the entry must not have
mode_t DiskExportTarget::setOwner(const FileDescriptor& entry, const DiskAttributes& attributes,
                                  mode_t mode) {
    if (attributes.owner) {
        const DiskOwner actual = changeOwner(entry, *attributes.owner);
        lost_.owners += actual == *attributes.owner ? 0 : 1;
        return permissionsFor(mode, *attributes.owner, actual);
    }
    if ((mode & setIdBits) == 0) {
        return mode;
    }
    const struct stat status = statusOf(entry);
    return permissionsFor(mode, self_, {status.st_uid, status.st_gid});
}

/// Sets the owner and group of a file to those of the file that it replaces.
/// @return the permission bits of the replaced file, without the set-ID bits that the file must not have
mode_t DiskExportTarget::copyOwner(const FileDescriptor& file, const struct stat& replaced) {
    const DiskOwner owner{replaced.st_uid, replaced.st_gid};
    return permissionsFor(replaced.st_mode & permissionBits, owner, changeOwner(file, owner));
}

void DiskExportTarget::addExtended(const FileDescriptor& entry, const Xattrs& xattrs) {
    if (!xattrs.empty()) {
        lost_.xattrs += addXattrs(entry, xattrs);
    }
}

std::uint64_t DiskExportTarget::copyBytes(const StoragePath& source, bool isSparse,
                                          const FileDescriptor& to) {
    const auto from = source_.open(source);
    bool hasHoles = isSparse;
    std::uint64_t offset = 0;
    for (;;) {
        if (const std::uint64_t hole = from->skipHole(); hole > 0) {
            hasHoles = true;
            offset += hole;
            skipTo(to, offset);
        }
        const std::size_t count = from->read(buffer_);
        if (count == 0) {
            break;
        }
        if (isSparse) {
            writeSparse(count, offset, to);
        } else {
            to.write(buffer_.first(count));
        }
        offset += count;
        progress_.countBytes(count);
        Interruption::check();
    }
    if (hasHoles && ::ftruncate(to.number(), static_cast<off_t>(offset)) != 0) {
        throw diskError(to.path(), errno);
    }
    return offset;
}

/// Writes the first `count` bytes of the buffer, and leaves a hole for every unit of zeros.
void DiskExportTarget::writeSparse(std::size_t count, std::uint64_t offset, const FileDescriptor& to) const {
    for (std::size_t done = 0; done < count;) {
        const std::size_t unit = std::min(count - done, holeUnit);
        const std::span<const char> bytes = buffer_.subspan(done, unit);
        if (isZero(bytes)) {
            skipTo(to, offset + done + unit);
        } else {
            to.write(bytes);
        }
        done += unit;
    }
}

std::string DiskExportTarget::losses() const {
    std::string lost = lost_.owners > 0 ? counted(lost_.owners, "owner") : "";
    if (lost_.xattrs > 0) {
        lost += (lost.empty() ? "" : " and ") + counted(lost_.xattrs, "extended attribute");
    }
    return lost.empty() ? "" : "cannot preserve " + lost + ": not permitted or not supported";
}

} // namespace storage::host
