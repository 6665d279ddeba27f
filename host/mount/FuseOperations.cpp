#include "host/mount/FuseOperations.h"

#include "host/mount/EntryName.h"
#include "host/mount/FuseExtensions.h"
#include "host/mount/FuseRequest.h"
#include "host/mount/FuseSetIds.h"
#include "host/mount/HoleSeeker.h"
#include "host/mount/KernelTime.h"
#include "host/mount/UnmountRequests.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace storage::host {

namespace {

constexpr unsigned nanosecondsKept = 1;  ///< resolution of the times
constexpr unsigned pendingRequests = 64; ///< limit for read-ahead and write-back

/// Largest size of a write request in bytes, if the kernel does not write back late. Each program that writes
/// may have one such request in flight, and the kernel cannot free its pages before the reply.
constexpr unsigned writtenThrough = 128U << 10U;

FolderInode& folderOf(fuse_req_t request, fuse_ino_t number) {
    return static_cast<FolderInode&>(inodeOf(request, number));
}

FileInode& fileOf(fuse_req_t request, fuse_ino_t number) {
    return static_cast<FileInode&>(inodeOf(request, number));
}

fuse_entry_param entryOf(const MountedStorage::Found& found) {
    fuse_entry_param entry{};
    entry.ino = reinterpret_cast<fuse_ino_t>(found.inode);
    entry.generation = found.status.st_ino; // addresses are reused, inode numbers are not
    entry.attr = found.status;
    entry.attr_timeout = forever;
    entry.entry_timeout = forever;
    return entry;
}

/// Replies with an entry. The kernel caches a missing entry too. If the request was interrupted, the kernel
/// does not get the entry, so the reference is dropped again.
template <typename Operation>
void answerEntry(fuse_req_t request, const Operation& operation) noexcept {
    answer(request, [&] {
        MountedStorage& storage = storageOf(request);
        const MountedStorage::Found found = operation();
        const fuse_entry_param entry = entryOf(found);
        if (fuse_reply_entry(request, &entry) == -ENOENT && found.inode != nullptr) {
            storage.release(*found.inode, 1);
        }
    });
}

/// The capabilities that the kernel may use. All others are declined. In particular, the kernel must truncate
/// a file that is opened with O_TRUNC by a separate request, because opening makes no request.
constexpr unsigned wantedAbilities = FUSE_CAP_ASYNC_READ | FUSE_CAP_ASYNC_DIO | FUSE_CAP_PARALLEL_DIROPS |
                                     FUSE_CAP_READDIRPLUS | FUSE_CAP_READDIRPLUS_AUTO |
                                     FUSE_CAP_CACHE_SYMLINKS | FUSE_CAP_WRITEBACK_CACHE |
                                     FUSE_CAP_EXPLICIT_INVAL_DATA | FUSE_CAP_IOCTL_DIR;

void startUp(void* userData, fuse_conn_info* connection) {
    const WriteMode writing = static_cast<const RequestContext*>(userData)->writing;
    const unsigned unwanted = writing == WriteMode::Through ? FUSE_CAP_WRITEBACK_CACHE : 0;
    connection->want = connection->capable & wantedAbilities & ~unwanted;
    if (writing == WriteMode::Through) {
        connection->max_write = std::min(connection->max_write, writtenThrough);
    }
    connection->time_gran = nanosecondsKept;
    connection->max_background = pendingRequests;
    connection->congestion_threshold = pendingRequests;
}

void lookUp(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerEntry(request, [&] {
        const MountedStorage::Found found = storageOf(request).lookUp(folderOf(request, parent), name);
        keepAttributesInvalid(contextOf(request), reinterpret_cast<fuse_ino_t>(found.inode));
        return found;
    });
}

void forget(fuse_req_t request, fuse_ino_t number, std::uint64_t references) {
    storageOf(request).release(inodeOf(request, number), references);
    fuse_reply_none(request);
}

void forgetMany(fuse_req_t request, std::size_t count, fuse_forget_data* forgotten) {
    for (std::size_t i = 0; i < count; ++i) {
        storageOf(request).release(inodeOf(request, forgotten[i].ino), forgotten[i].nlookup);
    }
    fuse_reply_none(request);
}

/// Before a write, the kernel requests the attributes through the open file. While changes are refused, that
/// request must fail: under writeback caching, the write itself arrives only after it has succeeded for the
/// program.
void getAttributes(fuse_req_t request, fuse_ino_t number, fuse_file_info* openFile) {
    answer(request, [&] {
        if (openFile != nullptr && contextOf(request).gate.isClosed()) {
            throw ErrnoError(EROFS);
        }
        keepAttributesInvalid(contextOf(request), number);
        const struct stat status = storageOf(request).status(inodeOf(request, number));
        fuse_reply_attr(request, &status, forever);
    });
}

std::optional<timespec> wantedTime(int wanted, int explicitFlag, int nowFlag, const timespec& time) {
    if ((wanted & nowFlag) != 0) {
        return kernelTime();
    }
    return (wanted & explicitFlag) != 0 ? std::optional(time) : std::nullopt;
}

AttributeChange changeOf(const struct stat& attributes, int wanted) {
    AttributeChange change;
    if ((wanted & FUSE_SET_ATTR_MODE) != 0) {
        change.permissions = attributes.st_mode;
    }
    if ((wanted & FUSE_SET_ATTR_SIZE) != 0) {
        change.size = static_cast<std::uint64_t>(attributes.st_size);
    }
    if ((wanted & FUSE_SET_ATTR_UID) != 0) {
        change.owner = attributes.st_uid;
    }
    if ((wanted & FUSE_SET_ATTR_GID) != 0) {
        change.group = attributes.st_gid;
    }
    change.modified = wantedTime(wanted, FUSE_SET_ATTR_MTIME, FUSE_SET_ATTR_MTIME_NOW, attributes.st_mtim);
    change.accessed = wantedTime(wanted, FUSE_SET_ATTR_ATIME, FUSE_SET_ATTR_ATIME_NOW, attributes.st_atim);
    change.changed = wantedTime(wanted, FUSE_SET_ATTR_CTIME, 0, attributes.st_ctim);
    return change;
}

/// A request for times only may come from the kernel's cache: it sends the times of written files late, like
/// their content.
ChangeGate::Origin originOf(int wantedChanges) {
    constexpr int timesOfWrites = FUSE_SET_ATTR_MTIME | FUSE_SET_ATTR_CTIME;
    return (wantedChanges & ~timesOfWrites) == 0 ? ChangeGate::Origin::KernelCache
                                                 : ChangeGate::Origin::Program;
}

void setAttributes(fuse_req_t request, fuse_ino_t number, struct stat* attributes, int wanted,
                   fuse_file_info*) {
    answer(request, [&] {
        const ChangeGate::Passage passage(contextOf(request).gate, originOf(wanted));
        if ((wanted & FUSE_SET_ATTR_CTIME) != 0) {
            noteKernelTimestamp(attributes->st_ctim);
        }
        keepAttributesInvalid(contextOf(request), number);
        AttributeChange change = changeOf(*attributes, wanted);
        change.setIds = setIdsAfterChange(request, inodeOf(request, number), wanted);
        const struct stat status = storageOf(request).change(inodeOf(request, number), change);
        fuse_reply_attr(request, &status, forever);
    });
}

Owner callerOf(fuse_req_t request) {
    const fuse_ctx* const caller = fuse_req_ctx(request);
    return {caller->uid, caller->gid};
}

/// Also creates regular files: without FUSE_CREATE, the kernel makes a node and then opens it.
void makeNode(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, dev_t device) {
    answerEntry(request, [&] {
        const auto passage = requirePassage(request);
        FolderInode& folder = folderOf(request, parent);
        return S_ISREG(mode) ? storageOf(request).makeFile(folder, name, mode, callerOf(request))
                             : storageOf(request).makeNode(folder, name, mode, device, callerOf(request));
    });
}

/// Creates files without a name. Replies ENOSYS to all other creations, after which the kernel uses
/// `makeNode`.
void createNameless(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode,
                    fuse_file_info* openFile) {
    answer(request, [&] {
        if (std::string_view(name) != "/") {
            throw ErrnoError(ENOSYS);
        }
        const auto passage = requirePassage(request);
        MountedStorage& storage = storageOf(request);
        const MountedStorage::Found made =
            storage.makeNamelessFile(folderOf(request, parent), mode, callerOf(request));
        const fuse_entry_param entry = entryOf(made);
        if (fuse_reply_create(request, &entry, openFile) == -ENOENT) {
            storage.release(*made.inode, 1);
        }
    });
}

void makeSymbolicLink(fuse_req_t request, const char* target, fuse_ino_t parent, const char* name) {
    answerEntry(request, [&] {
        const auto passage = requirePassage(request);
        return storageOf(request).makeSymbolicLink(folderOf(request, parent), name, target,
                                                   callerOf(request));
    });
}

void readLink(fuse_req_t request, fuse_ino_t number) {
    answer(request,
           [&] { fuse_reply_readlink(request, MountedStorage::readLink(inodeOf(request, number)).c_str()); });
}

void makeFolder(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode) {
    answerEntry(request, [&] {
        const auto passage = requirePassage(request);
        return storageOf(request).makeFolder(folderOf(request, parent), name, mode, callerOf(request));
    });
}

void removeFile(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        storageOf(request).removeFile(folderOf(request, parent), name);
    });
}

void removeFolder(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        storageOf(request).removeFolder(folderOf(request, parent), name);
    });
}

/// Called only if the kernel does not check permissions, because root is the only user. Root may do
/// everything except execute a file without any execute bit.
void checkAccess(fuse_req_t request, fuse_ino_t number, int wanted) {
    answerDone(request, [&] {
        const struct stat status = storageOf(request).status(inodeOf(request, number));
        if ((wanted & X_OK) != 0 && S_ISREG(status.st_mode) && (status.st_mode & anyExecution) == 0) {
            throw ErrnoError(EACCES);
        }
    });
}

void link(fuse_req_t request, fuse_ino_t number, fuse_ino_t newParent, const char* newName) {
    answerEntry(request, [&] {
        const auto passage = requirePassage(request);
        return storageOf(request).link(inodeOf(request, number), folderOf(request, newParent), newName);
    });
}

void rename(fuse_req_t request, fuse_ino_t parent, const char* name, fuse_ino_t newParent,
            const char* newName, unsigned flags) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        storageOf(request).rename(folderOf(request, parent), name, folderOf(request, newParent), newName,
                                  {flags, callerOf(request)});
    });
}

/// After ENOSYS, the kernel opens files and folders without a request.
void needsNoOpening(fuse_req_t request, fuse_ino_t, fuse_file_info*) {
    fuse_reply_err(request, ENOSYS);
}

void read(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info*) {
    thread_local std::vector<char> buffer;
    answer(request, [&] {
        if (buffer.size() < size) {
            buffer.resize(size);
        }
        const std::size_t count = storageOf(request).read(
            fileOf(request, number), static_cast<std::uint64_t>(offset), std::span(buffer).first(size));
        fuse_reply_buf(request, buffer.data(), count);
    });
}

/// Invalidates the permissions in the kernel before the reply.
void clearSetIds(fuse_req_t request, fuse_ino_t number) {
    if (storageOf(request).clearSetIds(fileOf(request, number),
                                       setIdsAfterWrite(request, fileOf(request, number)))) {
        invalidateAttributesOf(contextOf(request).session, number);
    }
}

/// Stamps a written file, unless the kernel maintains the times of files itself.
void noteModification(fuse_req_t request, fuse_ino_t number) {
    if (contextOf(request).writing == WriteMode::Through) {
        storageOf(request).stampModified(fileOf(request, number));
    }
}

/// Invalidates the attributes after the reply. Before the reply it could deadlock: invalidation waits for an
/// inode that the kernel is freeing, and freeing it waits for the reply.
void write(fuse_req_t request, fuse_ino_t number, const char* bytes, std::size_t size, off_t offset,
           fuse_file_info* file) {
    answer(request, [&] {
        const ChangeGate::Passage passage(contextOf(request).gate, file->writepage != 0
                                                                       ? ChangeGate::Origin::KernelCache
                                                                       : ChangeGate::Origin::Program);
        if (clearsSetIds(file->fh)) {
            clearSetIds(request, number);
        }
        const auto blocks = storageOf(request).write(
            fileOf(request, number), static_cast<std::uint64_t>(offset), std::span(bytes, size));
        noteModification(request, number);
        fuse_session* const session = contextOf(request).session;
        fuse_reply_write(request, size);
        if (blocks == FileContents::CachedBlocks::Outdated) {
            invalidateAttributesOf(session, number);
        }
    });
}

void allocate(fuse_req_t request, fuse_ino_t number, int mode, off_t offset, off_t length, fuse_file_info*) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        if (fuse_req_ctx(request)->uid != 0) { // unlike FUSE_WRITE, FUSE_FALLOCATE has no flag for this
            clearSetIds(request, number);
        }
        storageOf(request).allocate(fileOf(request, number), mode, static_cast<std::uint64_t>(offset),
                                    static_cast<std::uint64_t>(length),
                                    [&] { return fuse_req_interrupted(request) != 0; });
        noteModification(request, number);
    });
}

/// Queues the request. `HoleSeeker` replies to it.
void seek(fuse_req_t request, fuse_ino_t number, off_t offset, int origin, fuse_file_info*) {
    answer(request, [&] {
        contextOf(request).seeker.add(
            {request, contextOf(request).session, &fileOf(request, number), number,
             static_cast<std::uint64_t>(offset),
             origin == SEEK_DATA ? HoleSeeker::Target::Data : HoleSeeker::Target::Hole});
    });
}

enum class ListingForm { Plain, WithAttributes };

void listFolder(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t position, ListingForm form) {
    answer(request, [&] {
        using Detail = MountedStorage::ListingDetail;
        // While changes are refused, attributes must not be cached, see `keepAttributesInvalid`.
        const bool isCounted = form == ListingForm::WithAttributes && !contextOf(request).gate.isClosed();
        const Detail detail = isCounted ? Detail::Attributes : Detail::Names;
        const auto buffer = std::make_unique_for_overwrite<char[]>(size);
        std::size_t used = 0;
        const auto add = [&](const std::string& name, const MountedStorage::Found& found,
                             std::uint64_t next) {
            char* const room = buffer.get() + used;
            const auto end = static_cast<off_t>(next);
            std::size_t taken = 0;
            if (form == ListingForm::WithAttributes) {
                fuse_entry_param entry = entryOf(found);
                entry.ino = isCounted ? entry.ino : 0; // for 0 the kernel takes only name and type
                taken = fuse_add_direntry_plus(request, room, size - used, name.c_str(), &entry, end);
            } else {
                taken = fuse_add_direntry(request, room, size - used, name.c_str(), &found.status, end);
            }
            if (taken > size - used) {
                return false;
            }
            used += taken;
            return true;
        };
        storageOf(request).list(folderOf(request, number), static_cast<std::uint64_t>(position), detail, add);
        fuse_reply_buf(request, buffer.get(), used);
    });
}

void listNames(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t position, fuse_file_info*) {
    listFolder(request, number, size, position, ListingForm::Plain);
}

void listAttributes(fuse_req_t request, fuse_ino_t number, std::size_t size, off_t position,
                    fuse_file_info*) {
    listFolder(request, number, size, position, ListingForm::WithAttributes);
}

void getSpace(fuse_req_t request, fuse_ino_t) {
    answer(request, [&] {
        constexpr unsigned long block = 4096;
        const auto info = storageOf(request).space();
        struct statvfs space {};
        space.f_bsize = block;
        space.f_frsize = block;
        space.f_blocks = info.capacity / block;
        space.f_bfree = info.available / block;
        space.f_bavail = space.f_bfree;
        const auto entries = storageOf(request).entries(info.available);
        space.f_files = entries.total;
        space.f_ffree = entries.free;
        space.f_favail = entries.free;
        space.f_namemax = longestEntryName;
        fuse_reply_statfs(request, &space);
    });
}

/// Only the user who mounted the storage and root may end the mount.
void control(fuse_req_t request, fuse_ino_t number, unsigned command, void*, fuse_file_info*, unsigned,
             const void*, std::size_t, std::size_t) {
    answer(request, [&] {
        const bool isKnown = command == startUnmounting || command == queryUnmounting;
        if (number != FUSE_ROOT_ID || !isKnown) {
            throw ErrnoError(ENOTTY);
        }
        const uid_t user = fuse_req_ctx(request)->uid;
        if (user != ::geteuid() && user != 0) {
            throw ErrnoError(EPERM);
        }
        UnmountRequests& unmounting = contextOf(request).unmounting;
        const UnmountStatus status = command == startUnmounting ? unmounting.start() : unmounting.status();
        fuse_reply_ioctl(request, 0, &status, sizeof(status));
    });
}

} // namespace

const fuse_lowlevel_ops& fuseOperations() {
    static const fuse_lowlevel_ops operations = [] {
        fuse_lowlevel_ops table{};
        table.init = startUp;
        table.lookup = lookUp;
        table.forget = forget;
        table.forget_multi = forgetMany;
        table.getattr = getAttributes;
        table.setattr = setAttributes;
        table.mknod = makeNode;
        table.create = createNameless;
        table.mkdir = makeFolder;
        table.unlink = removeFile;
        table.rmdir = removeFolder;
        table.symlink = makeSymbolicLink;
        table.readlink = readLink;
        table.link = link;
        table.rename = rename;
        table.access = checkAccess;
        table.open = needsNoOpening;
        table.opendir = needsNoOpening;
        table.read = read;
        table.write = write;
        table.fallocate = allocate;
        table.lseek = seek;
        table.readdir = listNames;
        table.readdirplus = listAttributes;
        table.statfs = getSpace;
        table.ioctl = control;
        return table;
    }();
    return operations;
}

} // namespace storage::host
