#include "host/transfer/Importer.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Interruption.h"

#include <algorithm>
#include <fmt/format.h>
#include <span>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

/// The size of the first write to a file. A provider that exceeds its capacity multiplies it by a power of
/// two and copies the content. After a first write of this size, the last capacity is the size of the file,
/// so the provider copies least.
/// @param size  from stat(2); 0 for some files that are not empty, such as those in /proc
std::size_t firstBlock(unsigned long long size) {
    constexpr unsigned long long growth = 8;
    while (size > transferBufferSize) {
        size = (size + growth - 1) / growth;
    }
    return size == 0 ? transferBufferSize : size;
}

} // namespace

Importer::Importer(ImportTarget& target, Console& console, ImportLog& imports, FileSystems fileSystems,
                   TransferOptions options)
    : target_(target),
      console_(console),
      imports_(imports),
      fileSystems_(fileSystems),
      options_(std::move(options)),
      keepsOwners_(::geteuid() == 0),
      progress_(console, options_.notices == TransferOptions::Notices::Shown
                             ? ProgressMeter::Display::Shown
                             : ProgressMeter::Display::Hidden),
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void Importer::run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes) {
    DiskFeed feed(source, fileSystems_, *options_.selection, console_);
    source_ = source;
    run(feed, target, rootAttributes);
}

void Importer::run(ImportFeed& feed, const StoragePath& target, RootAttributes rootAttributes) {
    open_.clear(); // an interrupted run leaves folders open
    target_.leaveAll();
    linked_.clear();
    otherNames_.clear();
    targetTop_ = target;
    rootAttributes_ = rootAttributes;
    if (const Entry* const top = feed.next()) {
        target_.requirePlace(target);
        take(feed, *top);
    }
    try {
        while (const Entry* const entry = feed.next()) {
            Interruption::check();
            leaveFoldersNotAbove(entry->path);
            console_.attempt(entry->place, [&] { take(feed, *entry); });
        }
    } catch (const CommandError&) {
        leaveFoldersNotAbove({});
        throw;
    }
    leaveFoldersNotAbove({});
}

/// Records the import, so that a check reports what is missing from now on.
void Importer::logImport() {
    using Scope = ImportSource::Scope;
    if (!source_.empty()) {
        imports_.add(std::exchange(source_, {}), targetTop_,
                     rootAttributes_ == RootAttributes::FromSource ? Scope::Whole : Scope::ContentOnly,
                     options_.selection);
    }
}

void Importer::take(ImportFeed& feed, const Entry& entry) {
    switch (entry.attributes.kind) {
    case EntryKind::Folder:
        takeFolder(feed, entry);
        break;
    case EntryKind::File:
        takeFile(feed, entry);
        break;
    default:
        takeSpecial(feed, entry);
    }
}

void Importer::takeFolder(ImportFeed& feed, const Entry& entry) {
    if (!entry.skipped.empty() && entry.isWanted) {
        ++totals_.skipped;
        notice(entry.place, "content skipped, " + entry.skipped);
    }
    const bool isTopToFill = entry.path.isRoot() && rootAttributes_ == RootAttributes::Untouched;
    open_.push_back({entry.path, targetOf(entry.path), entry.place, entry.attributes,
                     isTopToFill || !entry.hasAttributes, entry.isRepeated, false});
    if (entry.isWanted) {
        enterFolders(feed);
    }
}

/// Enters the open folders that are not selected themselves, because an entry below them is imported.
void Importer::enterFolders(ImportFeed& feed) {
    for (std::size_t i = 0; i < open_.size(); ++i) {
        if (open_[i].isEntered) {
            continue;
        }
        try {
            enterFolder(open_[i]);
        } catch (...) {
            const StoragePath path = open_[i].path;
            open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(i), open_.end());
            feed.skipBelow(path);
            throw;
        }
    }
}

void Importer::enterFolder(OpenFolder& folder) {
    if (!folder.keepsOwn && !folder.isRepeated) {
        noticeTime(folder.place, folder.attributes);
    }
    if (!printInDryRun(folder.place, EntryKind::Folder, folder.target)) {
        target_.enterFolder(folder.target, folder.keepsOwn ? nullptr : &folder.attributes);
        if (folder.path.isRoot()) {
            logImport();
        }
    }
    folder.isEntered = true;
    if (!folder.isRepeated) {
        ++totals_.folders;
        progress_.countEntry();
    }
}

/// Leaves the open folders that do not contain `path`; all of them for the root. Their attributes are set
/// last: adding entries changes the time, and requires a writable folder.
void Importer::leaveFoldersNotAbove(const StoragePath& path) {
    while (!open_.empty() &&
           (path.isRoot() || path == open_.back().path || !open_.back().path.contains(path))) {
        const OpenFolder done = std::move(open_.back());
        open_.pop_back();
        if (done.isEntered && options_.effect == TransferOptions::Effect::Transfer) {
            console_.attempt(done.target.printed(), [&] {
                target_.leaveFolder(done.target, done.keepsOwn ? nullptr : &done.attributes);
            });
        }
    }
}

void Importer::takeFile(ImportFeed& feed, const Entry& entry) {
    const StoragePath target = targetOf(entry.path);
    if (isUnchanged(entry, target)) {
        ++totals_.unchanged;
        progress_.countEntry();
        return;
    }
    enterFolders(feed);
    noticeTime(entry.place, entry.attributes);
    if (printInDryRun(entry.place, EntryKind::File, target)) {
        totals_.bytes += entry.size;
    } else if (entry.other) {
        takeOtherName(feed, entry, target);
    } else if (entry.file) {
        takeLinkedFile(feed, entry, target);
    } else {
        copyFile(feed, entry, target, 0);
    }
    if (entry.path.isRoot()) {
        logImport();
    }
    ++totals_.files;
    progress_.countEntry();
}

/// Whether an update skips the file. Hard links must be hard links in the storage, too.
bool Importer::isUnchanged(const Entry& entry, const StoragePath& target) {
    if (options_.files == TransferOptions::Files::All) {
        return false;
    }
    const auto existing = target_.find(target);
    const timespec modified = entry.attributes.modified.value();
    if (!existing || existing->kind != EntryKind::File || existing->size != entry.size ||
        !isSameTime(existing->modified, existing->isExact ? modified : toDiskTime(fromDiskTime(modified)))) {
        return false;
    }
    if (!entry.file || existing->linkGroup == 0) {
        return !entry.file;
    }
    const LinkedFile self{target, existing->linkGroup, entry.size, modified};
    return linked_.try_emplace(*entry.file, self).first->second.group == existing->linkGroup;
}

/// Imports a file that may have been imported under another name and may have changed since.
void Importer::takeLinkedFile(ImportFeed& feed, const Entry& entry, const StoragePath& target) {
    const timespec modified = entry.attributes.modified.value();
    const auto known = linked_.find(*entry.file);
    const bool isSame = known != linked_.end() && known->second.size == entry.size &&
                        isSameTime(known->second.modified, modified);
    if (isSame && target_.link(known->second.path, target)) {
        return;
    }
    const std::uint64_t group = isSame ? known->second.group : target_.newLinkGroup();
    copyFile(feed, entry, target, group);
    if (!isSame) {
        linked_.insert_or_assign(*entry.file, LinkedFile{target, group, entry.size, modified});
    }
}

/// If a later name of a file has content, it is the content of all its names.
void Importer::takeOtherName(ImportFeed& feed, const Entry& entry, const StoragePath& target) {
    const StoragePath first = targetOf(*entry.other);
    std::vector<StoragePath>& others = otherNames_[first.text()];
    if (entry.size == 0) {
        target_.addName(first, target);
    } else {
        copyFile(feed, entry, target, 0);
        target_.addName(target, first);
        for (const StoragePath& other : others) {
            target_.addName(target, other);
        }
    }
    others.push_back(target);
}

void Importer::copyFile(ImportFeed& feed, const Entry& entry, const StoragePath& target,
                        std::uint64_t linkGroup) {
    const auto file = target_.makeFile(target);
    const auto bytes = copyBytes(feed, entry, *file);
    DiskAttributes attributes = entry.attributes;
    attributes.linkGroup = linkGroup;
    file->finish(attributes);
    totals_.bytes += bytes;
}

unsigned long long Importer::copyBytes(ImportFeed& feed, const Entry& entry, ImportTarget::File& to) {
    unsigned long long copied = 0;
    std::size_t wanted = firstBlock(entry.size);
    for (;;) {
        if (const std::uint64_t hole = feed.skipHole(); hole > 0) {
            to.writeHole(hole);
            copied += hole;
        }
        const std::size_t count = feed.read(std::span(buffer_.get(), wanted));
        if (count == 0) {
            return copied;
        }
        to.write(std::span(buffer_.get(), count));
        copied += count;
        progress_.countBytes(count);
        Interruption::check();
        wanted = transferBufferSize;
    }
}

void Importer::takeSpecial(ImportFeed& feed, const Entry& entry) {
    const EntryKind kind = entry.attributes.kind;
    if (kind == EntryKind::Socket || (isDevice(kind) && !keepsOwners_)) {
        ++totals_.skipped;
        notice(entry.place, std::string("skipped, ") + describe(kind));
        return;
    }
    enterFolders(feed);
    noticeTime(entry.place, entry.attributes);
    if (const StoragePath target = targetOf(entry.path); !printInDryRun(entry.place, kind, target)) {
        makeSpecial(entry, target);
    }
    ++(kind == EntryKind::SymbolicLink ? totals_.symbolicLinks : totals_.specialFiles);
    progress_.countEntry();
}

/// Special entries can have hard links, too.
void Importer::makeSpecial(const Entry& entry, const StoragePath& target) {
    if (!entry.file) {
        target_.makeSpecial(target, entry.attributes);
        return;
    }
    const auto known = linked_.find(*entry.file);
    if (known != linked_.end() && target_.link(known->second.path, target)) {
        return;
    }
    DiskAttributes attributes = entry.attributes;
    attributes.linkGroup = known != linked_.end() ? known->second.group : target_.newLinkGroup();
    target_.makeSpecial(target, attributes);
    linked_.insert_or_assign(
        *entry.file, LinkedFile{target, attributes.linkGroup, entry.size, attributes.modified.value()});
}

/// Prints the entry in a dry run, unless it is an existing folder.
/// @return whether this is a dry run
/// @throws CommandError when an entry of another kind exists
bool Importer::printInDryRun(const std::string& place, EntryKind kind, const StoragePath& target) {
    if (options_.effect == TransferOptions::Effect::Transfer) {
        return false;
    }
    const auto existing = target_.find(target);
    const bool isFolder = kind == EntryKind::Folder;
    if (existing && (existing->kind == EntryKind::Folder) != isFolder) {
        throw CommandError(target.printed(), std::string(describe(existing->kind)) + " is in the way");
    }
    if (!existing || !isFolder) {
        console_.out() << fmt::format("'{}' -> '{}'\n", console_.shown(place), console_.shown(target.text()));
    }
    return true;
}

void Importer::noticeTime(const std::string& place, const DiskAttributes& attributes) {
    if (!isStorageTime(attributes.modified.value())) {
        notice(place, "time outside the years 1400 to 9999, stored as " +
                          formatSeconds(fromDiskTime(*attributes.modified)));
    }
}

void Importer::notice(const std::string& place, const std::string& text) {
    if (options_.notices == TransferOptions::Notices::Shown) {
        console_.notice(place, text);
    }
}

} // namespace storage::host
