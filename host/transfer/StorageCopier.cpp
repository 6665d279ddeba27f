#include "host/transfer/StorageCopier.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/support/DefaultMode.h"
#include "host/support/Interruption.h"
#include "host/support/Umask.h"

#include <span>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

namespace {

bool isSpecial(EntryKind kind) {
    return kind != EntryKind::File && kind != EntryKind::Folder;
}

} // namespace

StorageCopier::StorageCopier(Session& session, const StoragePath& target, ProgressMeter& progress)
    : session_(session),
      to_(session.storageOf(target)),
      progress_(progress),
      source_(session),
      target_(session.provider(target), session.kept(target)),
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void StorageCopier::run(const StoragePath& source, const StoragePath& target, RootAttributes rootAttributes) {
    open_.clear(); // an interrupted run leaves folders open
    target_.leaveAll();
    linkGroups_.clear();
    EntryKind kind = EntryKind::File;
    session_.storageOf(source).attribute([&] { kind = source_.kindOf(source); });
    copyEntry(source, kind, target, rootAttributes);
    while (!open_.empty()) {
        Interruption::check();
        copyNext();
    }
}

/// Copies the next entry of the innermost open folder, or leaves the folder.
void StorageCopier::copyNext() {
    OpenFolder& folder = open_.back();
    if (folder.next == folder.children.size()) {
        const OpenFolder done = std::move(folder);
        open_.pop_back();
        session_.console().attempt(done.target.printed(), [&] { leaveFolder(done); });
        return;
    }
    const ExportSource::Child child = folder.children[folder.next++];
    const StoragePath source = folder.source.child(child.name);
    const StoragePath target = folder.target.child(child.name);
    session_.console().attempt(source.printed(),
                               [&] { copyEntry(source, child.kind, target, RootAttributes::Untouched); });
}

void StorageCopier::copyEntry(const StoragePath& source, EntryKind kind, const StoragePath& target,
                              RootAttributes attributes) {
    switch (kind) {
    case EntryKind::Folder:
        enterFolder(source, target, attributes);
        break;
    case EntryKind::File:
        copyFile(source, target);
        break;
    default:
        copySpecial(source, kind, target);
    }
    progress_.countEntry();
}

void StorageCopier::enterFolder(const StoragePath& source, const StoragePath& target,
                                RootAttributes attributes) {
    OpenFolder folder{source, target, attributesOf(source, EntryKind::Folder), false, {}};
    session_.storageOf(source).attribute([&] { folder.children = source_.childrenOf(source); });
    to_.attribute([&] {
        folder.keepsOwn =
            attributes == RootAttributes::Untouched && to_.provider().doFolderExists(target.iri());
        target_.enterFolder(target, folder.keepsOwn ? nullptr : &folder.attributes);
    });
    open_.push_back(std::move(folder));
}

/// Sets the attributes last: adding entries changes the time, and requires a writable folder.
void StorageCopier::leaveFolder(const OpenFolder& folder) {
    to_.attribute(
        [&] { target_.leaveFolder(folder.target, folder.keepsOwn ? nullptr : &folder.attributes); });
}

void StorageCopier::copyFile(const StoragePath& source, const StoragePath& target) {
    const SessionStorage& from = session_.storageOf(source);
    const DiskAttributes attributes = attributesOf(source, EntryKind::File);
    std::unique_ptr<ExportSource::Reader> reader;
    from.attribute([&] { reader = source_.open(source); });
    std::unique_ptr<ImportTarget::File> file;
    to_.attribute([&] {
        refuseFolder(to_.provider(), target);
        refuseReadOnlyFile(to_.provider(), target);
        file = target_.makeFile(target);
    });
    copyBytes(*reader, *file, from);
    to_.attribute([&] { file->finish(attributes); });
}

void StorageCopier::copyBytes(ExportSource::Reader& from, ImportTarget::File& to,
                              const SessionStorage& source) {
    for (;;) {
        std::size_t count = 0;
        source.attribute([&] { count = from.read(std::span(buffer_.get(), transferBufferSize)); });
        if (count == 0) {
            return;
        }
        to_.attribute([&] { to.write(std::span(buffer_.get(), count)); });
        progress_.countBytes(count);
        Interruption::check();
    }
}

void StorageCopier::copySpecial(const StoragePath& source, EntryKind kind, const StoragePath& target) {
    const DiskAttributes attributes = attributesOf(source, kind);
    to_.attribute([&] {
        refuseReadOnlyFile(to_.provider(), target);
        target_.makeSpecial(target, attributes);
    });
}

/// The attributes of the copy. The write bits match the writable flag of the storage.
DiskAttributes StorageCopier::attributesOf(const StoragePath& path, EntryKind kind) {
    ExportSource::Entry entry;
    session_.storageOf(path).attribute([&] { entry = source_.entryAt(path, kind); });
    DiskAttributes attributes = std::move(entry.attributes);
    if (attributes.modified && attributes.modified->tv_nsec == UTIME_OMIT) {
        attributes.modified.reset();
    }
    if (!isSpecial(kind)) {
        constexpr mode_t allWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
        const mode_t mode = attributes.mode ? *attributes.mode : defaultMode(kind, currentUmask());
        attributes.mode = entry.isWritable ? mode | S_IWUSR : mode & ~allWriteBits;
    }
    if (attributes.linkGroup != 0) {
        std::uint64_t& group = linkGroups_[attributes.linkGroup];
        group = group != 0 ? group : target_.newLinkGroup();
        attributes.linkGroup = group;
    }
    return attributes;
}

} // namespace storage::host
