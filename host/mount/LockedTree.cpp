#include "host/mount/LockedTree.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/EntryName.h"
#include "host/mount/SpecialInodes.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace storage::host {

using provider::EntryExistence;
using provider::FileAttributes;
using provider::FolderAttributes;
using provider::FolderEntry;
using provider::requireNonNull;
using provider::StorageIRI;

namespace {

/// Providers keep only the owner's write bit. All other bits are those of `permissions`.
constexpr mode_t permissionsOf(mode_t permissions, bool writable) {
    return writable ? permissions : permissions & ~writeBits;
}

/// A storage may return not-a-date-time. Programs then see the current time. With 1970, the entry would count
/// as older than all others.
timespec programTime(const boost::posix_time::ptime& time) {
    constexpr std::time_t beyond = std::numeric_limits<std::time_t>::max();
    if (time.is_not_a_date_time()) {
        timespec now{};
        std::timespec_get(&now, TIME_UTC);
        return now;
    }
    return toDiskTime(time.is_special() ? fromDiskTime({time.is_pos_infinity() ? beyond : -beyond, 0})
                                        : time);
}

const std::u16string namelessPrefix = u"\xD800n"; ///< not valid UTF-16, so no program can use or see it

std::u16string namelessName(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return namelessPrefix + std::u16string(digits.begin(), digits.end());
}

void loadFile(FileInode& file, const FileAttributes& stored) {
    const timespec modified = programTime(stored.getLastModified());
    file.attributes = {permissionsOf(usualFilePermissions, stored.isWritable()),
                       stored.getSize(),
                       modified,
                       modified,
                       modified,
                       modified};
    file.storedSize = stored.getSize();
}

void loadFolder(FolderInode& folder, const FolderAttributes& stored) {
    const timespec modified = programTime(stored.getLastModified());
    folder.attributes = {permissionsOf(usualFolderPermissions, stored.isWritable()),
                         0,
                         modified,
                         modified,
                         modified,
                         modified};
}

} // namespace

// NOLINTBEGIN(readability-convert-member-functions-to-static): see LockedTree

StorageIRI LockedTree::locationOf(const Inode& inode) const {
    return StorageIRI(pathOf(inode, {}));
}

StorageIRI LockedTree::locationOf(const FolderInode& folder, std::u16string_view name) const {
    return StorageIRI(pathOf(folder, name));
}

std::u16string LockedTree::pathOf(const Inode& inode, std::u16string_view below) const {
    const auto forEachName = [&](const auto& visit) {
        if (!below.empty()) {
            visit(below);
        }
        for (const Inode* each = &inode; parentOf(*each) != nullptr; each = parentOf(*each)) {
            each->place_.name.read(visit);
        }
    };
    std::size_t length = 0;
    forEachName([&](std::u16string_view name) { length += name.size() + 1; });
    std::u16string path(std::max<std::size_t>(length, 1), u'/');
    forEachName([&](std::u16string_view name) {
        length -= name.size();
        name.copy(path.data() + length, name.size());
        --length; // the separator is already there
    });
    return path;
}

std::string LockedTree::programPathOf(const Inode& inode) const {
    std::string path;
    for (const Inode* each = &inode; parentOf(*each) != nullptr; each = parentOf(*each)) {
        path.insert(0, '/' + programNameOf(nameOf(*each)).value());
    }
    return path.substr(1);
}

bool LockedTree::isWithin(const Inode& inode, const FolderInode& folder) const noexcept {
    const Inode* each = &inode;
    while (each != nullptr && each != &folder) {
        each = parentOf(*each);
    }
    return each != nullptr;
}

std::optional<TreeEntry*> LockedTree::findKnown(const FolderInode& folder,
                                                std::u16string_view name) const noexcept {
    TreeEntry* const child = folder.children_.find(name);
    return child != nullptr || isComplete(folder) ? std::optional(child) : std::nullopt;
}

bool LockedTree::isNameless(const TreeEntry& entry) const noexcept {
    return parentOf(entry) != nullptr &&
           entry.place_.name.read([](std::u16string_view name) { return name.starts_with(namelessPrefix); });
}

std::size_t LockedTree::linksOf(const Inode& inode, const InodeGuards::Held&) const noexcept {
    if (isRemoved(inode) || isNameless(inode)) {
        return 0;
    }
    if (!inode.isFolder()) {
        return 1 + (inode.rare ? inode.rare->aliases.size() : 0);
    }
    const auto& folder = static_cast<const FolderInode&>(inode);
    return isComplete(folder) ? 2 + folder.children_.folders() : 1;
}

Alias* LockedTree::aliasOf(const Inode& inode) const noexcept {
    const auto held = tree_.guards_.hold(inode);
    return inode.rare && !inode.rare->aliases.empty() ? inode.rare->aliases.back() : nullptr;
}

void LockedTree::loadAttributes(Inode& inode, const InodeGuards::Held&) const {
    if (inode.attributesKnown) {
        return;
    }
    if (inode.isFolder()) {
        loadFolder(static_cast<FolderInode&>(inode),
                   tree_.provider_.doGetFolderAttributes(locationOf(inode)));
    } else {
        loadFile(static_cast<FileInode&>(inode), tree_.provider_.doGetFileAttributes(locationOf(inode)));
    }
    inode.attributesKnown = true;
}

void LockedTree::loadAttributes(Inode& inode) const {
    loadAttributes(inode, tree_.guards_.hold(inode));
}

TreeEntry* ExclusiveTree::find(FolderInode& folder, std::u16string_view name) {
    const auto known = findKnown(folder, name);
    return known ? *known : lookUpStored(folder, name);
}

TreeEntry* ExclusiveTree::lookUpStored(FolderInode& folder, std::u16string_view name) {
    switch (tree_.provider_.doExistsExtended(locationOf(folder, name))) {
    case EntryExistence::File:
        return &add(folder, {Inode::Kind::File}, name);
    case EntryExistence::Folder:
        return &add(folder, {Inode::Kind::Folder}, name);
    default:
        return nullptr;
    }
}

void ExclusiveTree::complete(FolderInode& folder) {
    if (isComplete(folder)) {
        return;
    }
    const auto listing = requireNonNull(tree_.provider_.doListAll(locationOf(folder)), "listing");
    while (listing->hasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        if (programNameOf(entry.getName()) && folder.children_.find(entry.getName()) == nullptr) {
            const bool isFolder = entry.getType() == FolderEntry::EntryType::Folder;
            add(folder, {isFolder ? Inode::Kind::Folder : Inode::Kind::File}, entry.getName());
        }
    }
    folder.children_.setComplete();
}

std::unique_ptr<Inode> ExclusiveTree::make(NewEntry entry, CompactName name) {
    tree_.mutex_.assertHeld();
    const std::uint64_t number = tree_.nextNumber_++;
    switch (entry.kind) {
    case Inode::Kind::File:
        return std::make_unique<FileInode>(std::move(name), number);
    case Inode::Kind::Folder:
        return std::make_unique<FolderInode>(std::move(name), number);
    case Inode::Kind::SymbolicLink:
        return std::make_unique<SymbolicLinkInode>(std::move(name), number, std::move(entry.target));
    default:
        return std::make_unique<SpecialInode>(entry.kind, std::move(name), number, entry.device);
    }
}

Inode& ExclusiveTree::add(FolderInode& folder, NewEntry entry, CompactName name) {
    TreeEntry& added = folder.children_.add(make(std::move(entry), std::move(name)));
    added.place_.parent = &folder;
    return added.inode();
}

Inode& ExclusiveTree::addNameless(NewEntry entry) {
    tree_.mutex_.assertHeld();
    CompactName name = namelessName(tree_.nextNumber_);
    TreeEntry& added = tree_.nameless_.add(make(std::move(entry), std::move(name)));
    added.place_.parent = &tree_.root_;
    return added.inode();
}

Inode* ExclusiveTree::anyNameless() const noexcept {
    tree_.mutex_.assertHeld();
    TreeEntry* const first = tree_.nameless_.after(0);
    return first != nullptr ? &first->inode() : nullptr;
}

ChildTable& ExclusiveTree::tableOf(const TreeEntry& entry) const noexcept {
    tree_.mutex_.assertHeld();
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): an entry in a table has a parent
    return isNameless(entry) ? tree_.nameless_ : entry.place_.parent->children_;
}

Alias& ExclusiveTree::addAlias(FolderInode& folder, Inode& inode, CompactName name) {
    auto made = std::make_unique<Alias>(std::move(name), inode);
    Alias& alias = *made;
    const auto held = tree_.guards_.hold(inode);
    std::vector<Alias*>& aliases = inode.requireRare().aliases;
    aliases.push_back(&alias);
    try {
        folder.children_.add(std::move(made));
    } catch (...) {
        aliases.pop_back();
        throw;
    }
    alias.index_ = aliases.size() - 1;
    alias.place_.parent = &folder;
    ++tree_.aliases_;
    return alias;
}

void ExclusiveTree::removeAlias(const Alias& alias) noexcept {
    {
        const auto held = tree_.guards_.hold(alias.inode_);
        std::vector<Alias*>& aliases = alias.inode_.rare->aliases;
        Alias* const last = aliases.back();
        aliases[alias.index_] = last;
        last->index_ = alias.index_;
        aliases.pop_back();
    }
    alias.place_.parent->children_.remove(alias);
    --tree_.aliases_;
}

void ExclusiveTree::exchange(TreeEntry& left, TreeEntry& right) noexcept {
    tableOf(left).exchange(left, tableOf(right), right);
}

void ExclusiveTree::discard(Inode& inode) noexcept {
    tableOf(inode).remove(inode);
}

ExclusiveTree::RemovedPlace ExclusiveTree::prepareRemoval(const Inode& inode) {
    InodeTree::Removed place;
    place.emplace(&inode, nullptr);
    return place.extract(place.begin());
}

ExclusiveTree::RemovedPlace ExclusiveTree::remove(Inode& inode, RemovedPlace place) noexcept {
    tree_.mutex_.assertHeld();
    place.mapped() = tableOf(inode).remove(inode);
    inode.place_.parent = nullptr;
    if (inode.references == 0) {
        return place;
    }
    tree_.removed_.insert(std::move(place));
    return {};
}

ExclusiveTree::RemovedPlace ExclusiveTree::takeRemoved(const Inode& inode) noexcept {
    tree_.mutex_.assertHeld();
    return tree_.removed_.extract(&inode);
}

/// A replacement takes the position of its target. An entry that stays in its folder keeps its position.
std::uint64_t ExclusiveTree::prepareRename(const TreeEntry& source, FolderInode& folder,
                                           const TreeEntry* target) {
    folder.children_.makeRoom();
    if (target != nullptr) {
        return positionOf(*target);
    }
    return &tableOf(source) == &folder.children_ ? positionOf(source) : folder.children_.newPosition();
}

void ExclusiveTree::rename(TreeEntry& source, FolderInode& folder, CompactName name,
                           std::uint64_t position) noexcept {
    folder.children_.moveHere(tableOf(source), source, std::move(name), position);
    source.place_.parent = &folder;
}

/// The storage has stamped the folder too, but with another clock.
void ExclusiveTree::stamp(FolderInode& folder, const timespec& time) noexcept {
    const auto held = tree_.guards_.hold(folder);
    folder.attributes.modified = time;
    folder.attributes.changed = time;
    try {
        tree_.provider_.doSetLastModified(locationOf(folder), fromDiskTime(time));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The entries have changed, so this must not fail. Programs see the time in the inode.
    }
}

// NOLINTEND(readability-convert-member-functions-to-static)

} // namespace storage::host
