#include "host/session/KeptAttributes.h"

#include "host/session/PathPrefix.h"
#include "host/support/DefaultMode.h"
#include "host/support/FileTime.h"

#include <unistd.h>
#include <utility>

namespace storage::host {

KeptAttributes::Record::Record(const Record& other)
    : modified(other.modified),
      mode(other.mode),
      kind(other.kind),
      hasTime(other.hasTime),
      isSparse(other.isSparse),
      rare(other.rare ? std::make_unique<Rare>(*other.rare) : nullptr) {}

KeptAttributes KeptAttributes::ofUmask(mode_t mask) {
    return KeptAttributes({defaultMode(EntryKind::File, mask),
                           defaultMode(EntryKind::Folder, mask),
                           {::geteuid(), ::getegid()}});
}

void KeptAttributes::set(const StoragePath& path, const DiskAttributes& attributes) {
    Record record = recordOf(attributes);
    if (record.isEmpty()) {
        erase(path);
    } else {
        put(path, std::move(record));
    }
}

KeptAttributes::Record KeptAttributes::recordOf(const DiskAttributes& attributes) const {
    Record record;
    record.kind = attributes.kind;
    const mode_t defaultMode = record.kind == EntryKind::Folder ? defaults_.folderMode : defaults_.fileMode;
    if (record.isSpecial() || attributes.mode != defaultMode) {
        record.mode = attributes.mode;
    }
    if (attributes.modified) {
        const timespec stored = toDiskTime(fromDiskTime(*attributes.modified));
        record.hasTime = record.isSpecial() || !isSameTime(stored, *attributes.modified);
        record.modified = *attributes.modified;
    }
    record.isSparse = attributes.isSparse;
    const bool hasOwner = attributes.owner && *attributes.owner != defaults_.owner;
    if (hasOwner || !attributes.xattrs.empty() || attributes.linkGroup != 0 || record.isSpecial()) {
        record.rare =
            std::make_unique<Rare>(Rare{hasOwner ? attributes.owner : std::nullopt, attributes.xattrs,
                                        attributes.linkTarget, attributes.device, attributes.linkGroup});
    }
    return record;
}

DiskAttributes KeptAttributes::find(const StoragePath& path, const boost::posix_time::ptime& stored) const {
    DiskAttributes attributes;
    const Record* const record = findRecord(path);
    if (record == nullptr) {
        return attributes;
    }
    attributes.kind = record->kind;
    attributes.mode = record->mode;
    if (record->hasTime && (record->isSpecial() || fromDiskTime(record->modified) == stored)) {
        attributes.modified = record->modified;
    }
    attributes.isSparse = record->isSparse;
    if (record->rare) {
        attributes.owner = record->rare->owner;
        attributes.xattrs = record->rare->xattrs;
        attributes.linkTarget = record->rare->linkTarget;
        attributes.device = record->rare->device;
        attributes.linkGroup = record->rare->linkGroup;
    }
    return attributes;
}

std::optional<mode_t> KeptAttributes::modeOf(const StoragePath& path) const {
    const Record* const record = findRecord(path);
    return record == nullptr ? std::nullopt : record->mode;
}

std::vector<KeptAttributes::Special> KeptAttributes::specialIn(const StoragePath& folder) const {
    std::vector<Special> found;
    if (const auto in = folders_.find(folder.text()); in != folders_.end()) {
        for (const auto& [name, record] : in->second) {
            if (record.isSpecial()) {
                found.push_back({name, record.kind});
            }
        }
    }
    return found;
}

void KeptAttributes::moved(const StoragePath& from, const StoragePath& to) {
    if (from == to) {
        return;
    }
    removed(to);
    if (const Record* const record = findRecord(from)) {
        put(to, *record);
        erase(from);
    }
    std::map<std::u16string, Folder> rebased;
    const auto take = [&](std::map<std::u16string, Folder>::iterator folder) {
        auto node = folders_.extract(folder);
        node.key() = to.text() + node.key().substr(from.text().size());
        rebased.insert(std::move(node));
    };
    if (const auto self = folders_.find(from.text()); self != folders_.end()) {
        take(self);
    }
    const std::u16string below = prefixBelow(from);
    for (auto next = folders_.lower_bound(below); next != folders_.end() && next->first.starts_with(below);) {
        take(next++);
    }
    folders_.merge(rebased);
}

void KeptAttributes::copied(const StoragePath& from, const StoragePath& to) {
    const Record* const record = findRecord(from);
    if (record == nullptr) {
        erase(to);
        return;
    }
    put(to, *record);
    changed(to);
}

void KeptAttributes::copiedSpecial(const StoragePath& from, const StoragePath& to) {
    for (const Special& special : specialIn(from)) {
        put(to.child(special.name), *findRecord(from.child(special.name)));
    }
}

void KeptAttributes::changed(const StoragePath& path) {
    const auto folder = folders_.find(path.parent().text());
    if (folder == folders_.end()) {
        return;
    }
    const auto found = folder->second.find(path.name());
    if (found == folder->second.end()) {
        return;
    }
    Record& record = found->second;
    if (record.rare) {
        record.rare->linkGroup = 0;
    }
    if (record.rare && !record.rare->owner && record.rare->xattrs.empty() && !record.isSpecial()) {
        record.rare.reset();
    }
    if (record.isEmpty() || record.isSpecial()) {
        erase(path);
    }
}

void KeptAttributes::removed(const StoragePath& path) {
    erase(path);
    folders_.erase(path.text());
    const std::u16string below = prefixBelow(path);
    for (auto next = folders_.lower_bound(below); next != folders_.end() && next->first.starts_with(below);) {
        next = folders_.erase(next);
    }
}

std::size_t KeptAttributes::size() const noexcept {
    std::size_t records = 0;
    for (const auto& folder : folders_) {
        records += folder.second.size();
    }
    return records;
}

const KeptAttributes::Record* KeptAttributes::findRecord(const StoragePath& path) const {
    const auto folder = folders_.find(path.parent().text());
    if (folder == folders_.end()) {
        return nullptr;
    }
    const auto found = folder->second.find(path.name());
    return found == folder->second.end() ? nullptr : &found->second;
}

void KeptAttributes::put(const StoragePath& path, Record record) {
    folders_[path.parent().text()].insert_or_assign(std::u16string(path.name()), std::move(record));
}

void KeptAttributes::erase(const StoragePath& path) {
    const auto folder = folders_.find(path.parent().text());
    if (folder == folders_.end()) {
        return;
    }
    if (const auto found = folder->second.find(path.name()); found != folder->second.end()) {
        folder->second.erase(found);
    }
    if (folder->second.empty()) {
        folders_.erase(folder);
    }
}

} // namespace storage::host
