#include "host/transfer/Checker.h"

#include "host/disk/DiskExtents.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/DiskXattrs.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/FileTime.h"
#include "host/support/Interruption.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

using Kind = DiskEntry::Kind;

constexpr int readFolderFlags = O_RDONLY | O_DIRECTORY;
// O_NONBLOCK: opening a fifo that has replaced the file would block until a writer opens it.
constexpr int readFileFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;

const char* describeWritable(bool writable) {
    return writable ? "writable" : "read-only";
}

std::size_t equalBytes(const std::vector<char>& left, const std::vector<char>& right, std::size_t count) {
    if (std::memcmp(left.data(), right.data(), count) == 0) {
        return count;
    }
    return static_cast<std::size_t>(
        std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(count), right.begin()).first -
        left.begin());
}

} // namespace

FileDescriptor Checker::Layer::open(int flags) const {
    return above ? FileDescriptor(*above, diskName(source.diskPath), flags)
                 : FileDescriptor(source.diskPath, flags);
}

Checker::Checker(SessionExportSource& stored, Console& console, const ImportLog& expected, Complete complete,
                 Against against, Times times)
    : stored_(stored),
      console_(console),
      expected_(expected),
      complete_(std::move(complete)),
      against_(against),
      times_(times),
      progress_(console),
      buffer_(transferBufferSize),
      diskBuffer_(transferBufferSize) {}

void Checker::run() {
    open_.clear();
    for (const StoragePath& top : expected_.topmost()) {
        Interruption::check();
        console_.attempt(top.printed(), [&] { compareTop(top); });
        while (!open_.empty()) {
            Interruption::check();
            const Folder folder = std::move(open_.back());
            open_.pop_back();
            console_.attempt(folder.path.printed(), [&] { compareFolder(folder); });
        }
    }
}

void Checker::compareTop(const StoragePath& path) {
    const Layers layers = layersAt(path);
    if (!layers.empty()) {
        compareEntry(path, stored_.kindOf(path), layers);
    }
}

/// The sources that were imported to exactly this path, as they are now.
Checker::Layers Checker::layersAt(const StoragePath& path) {
    Layers layers;
    for (ImportSource& source : expected_.at(path)) {
        console_.attempt(source.diskPath, [&] {
            const Kind kind = DiskEntry::at(source.diskPath, DiskEntry::Links::Follow).kind;
            const auto verdict =
                source.selection->ofTop(toUtf16(diskName(source.diskPath)), kind == Kind::Folder);
            layers.push_back({std::move(source), kind, nullptr, {}, verdict});
        });
    }
    return layers;
}

void Checker::compareFolder(const Folder& folder) {
    Children children = childrenOf(folder);
    ++totals_.folders;
    progress_.countEntry();
    console_.attempt(folder.path.printed(), [&] { compareFolderAttributes(folder); });
    const std::size_t opened = open_.size();
    for (const ExportSource::Child& child : stored_.childrenOf(folder.path)) {
        Interruption::check();
        const StoragePath path = folder.path.child(child.name);
        const auto found = children.find(child.name);
        if (found == children.end()) {
            report(path, "not on disk");
            continue;
        }
        console_.attempt(path.printed(), [&] { compareEntry(path, child.kind, found->second); });
        children.erase(found);
    }
    std::reverse(open_.begin() + static_cast<std::ptrdiff_t>(opened), open_.end());
    for (const auto& [name, layers] : children) {
        reportMissing(folder.path.child(name), layers);
    }
}

Checker::Children Checker::childrenOf(const Folder& folder) {
    Children children;
    for (const Layer& layer : folder.layers) {
        addChildren(layer, children);
    }
    for (const std::u16string& name : expected_.namesIn(folder.path)) {
        Layers& layers = children[name];
        for (Layer& layer : layersAt(folder.path.child(name))) {
            layers.push_back(std::move(layer));
        }
        std::sort(layers.begin(), layers.end(), [](const Layer& left, const Layer& right) {
            return left.source.order < right.source.order;
        });
    }
    return children;
}

void Checker::addChildren(const Layer& layer, Children& children) {
    const auto folder = std::make_shared<const FileDescriptor>(layer.open(readFolderFlags));
    for (const std::string& name : listDiskFolder(*folder)) {
        console_.attempt(folder->path(), [&] { addChild(layer, folder, name, children); });
    }
}

void Checker::addChild(const Layer& layer, const std::shared_ptr<const FileDescriptor>& folder,
                       const std::string& name, Children& children) {
    ImportSource source = layer.source;
    source.diskPath = diskChild(source.diskPath, name);
    source.scope = ImportSource::Scope::Whole;
    const Kind kind = DiskEntry::in(*folder, name).kind;
    const StoragePath path = layer.path.child(toUtf16(name));
    const auto verdict = source.selection->ofChild(path, kind == Kind::Folder, layer.verdict);
    if (verdict != EntrySelection::Verdict::Excluded) {
        children[toUtf16(name)].push_back({std::move(source), kind, folder, path, verdict});
    }
}

/// Whether an import skips entries of this kind.
bool Checker::isSkippedKind(Kind kind) const {
    const bool isSkipped = kind == Kind::Socket || (isDevice(kind) && ::geteuid() != 0);
    return against_ == Against::Sources && isSkipped;
}

/// Whether an import creates the entry: it is selected, or is a folder that contains a selected entry.
bool Checker::holdsImported(const Layer& layer) {
    std::vector<Layer> passages{layer};
    while (!passages.empty()) {
        const Layer next = std::move(passages.back());
        passages.pop_back();
        if (next.verdict == EntrySelection::Verdict::Included) {
            return true;
        }
        Children children;
        addChildren(next, children);
        for (Children::value_type& child : children) {
            passages.push_back(std::move(child.second.front()));
        }
    }
    return false;
}

/// The source to compare with: the last one that an import does not skip, or else the last one. Null if there
/// are no layers.
const Checker::Layer* Checker::counterpart(const Layers& layers) const {
    const auto imported = std::find_if(layers.rbegin(), layers.rend(),
                                       [&](const Layer& layer) { return !isSkippedKind(layer.kind); });
    if (imported != layers.rend()) {
        return &*imported;
    }
    return layers.empty() ? nullptr : &layers.back();
}

void Checker::compareEntry(const StoragePath& path, EntryKind kind, const Layers& layers) {
    const Layer* const last = counterpart(layers);
    if (last != nullptr && last->kind != kind) {
        report(path,
               fmt::format("{}, but {} is {}", describe(kind), last->source.diskPath, describe(last->kind)));
    } else if (last != nullptr && kind == Kind::File) {
        compareFile(path, *last);
    } else if (last != nullptr && kind != Kind::Folder) {
        compareSpecial(path, kind, *last);
    } else if (last == nullptr && !expected_.at(path).empty()) {
        return; // the missing sources have been reported
    } else if (kind != Kind::Folder) {
        report(path, std::string(describe(kind)) + "; a folder with imported entries was expected");
    } else {
        Folder folder{path, layers};
        std::erase_if(folder.layers, [](const Layer& layer) { return layer.kind != Kind::Folder; });
        open_.push_back(std::move(folder));
    }
}

void Checker::reportMissing(const StoragePath& path, const Layers& layers) {
    const Layer* const last = counterpart(layers);
    if (last != nullptr && isSkippedKind(last->kind)) {
        ++totals_.skipped;
    } else if (last != nullptr && holdsImported(*last)) {
        report(path, fmt::format("missing, {} is {}", last->source.diskPath, describe(last->kind)));
    } else if (last == nullptr && expected_.at(path).empty()) {
        report(path, "missing; a folder with imported entries was expected");
    }
}

void Checker::compareFile(const StoragePath& path, const Layer& layer) {
    const std::string& diskPath = layer.source.diskPath;
    const FileDescriptor onDisk = layer.open(readFileFlags);
    if (const Kind kind = DiskEntry::of(onDisk).kind; kind != Kind::File) {
        throw CommandError(diskPath, std::string("replaced by ") + describe(kind));
    }
    const bool isEqual = compareBytes(path, onDisk);
    const ExportSource::Entry stored = entryAt(path, Kind::File);
    const DiskEntry entry = DiskEntry::of(onDisk);
    if (isEqual) { // with different content they are different files anyway
        compareHardLinks(path, layer, stored.attributes.linkGroup, entry);
        if (stored.attributes.isSparse) {
            compareHoles(path, onDisk, entry);
        }
    }
    compareAttributes(path, stored, diskPath, entry, times_);
    compareXattrs(path, stored.attributes.xattrs, onDisk);
    ++totals_.files;
    progress_.countEntry();
}

/// @return whether all bytes are equal
bool Checker::compareBytes(const StoragePath& path, const FileDescriptor& onDisk) {
    const auto stored = stored_.open(path);
    for (unsigned long long offset = 0;;) {
        Interruption::check();
        const std::size_t count = stored->read(buffer_);
        const std::size_t diskCount = onDisk.read(diskBuffer_);
        const std::size_t compared = std::min(count, diskCount);
        const std::size_t equal = equalBytes(buffer_, diskBuffer_, compared);
        offset += equal;
        totals_.bytes += equal;
        progress_.countBytes(equal);
        if (equal != compared) {
            reportBytes(path, onDisk,
                        fmt::format("at byte {}: 0x{:02X}, on disk 0x{:02X}", offset + 1,
                                    static_cast<unsigned char>(buffer_[equal]),
                                    static_cast<unsigned char>(diskBuffer_[equal])));
            return false;
        }
        if (count != diskCount) {
            reportBytes(path, onDisk,
                        fmt::format("after byte {}: end of file {}", offset,
                                    count < diskCount ? "in the storage" : "on disk"));
            return false;
        }
        if (count == 0) {
            return true;
        }
    }
}

/// Precondition: the storage has the same bytes, and the imported file had holes.
void Checker::compareHoles(const StoragePath& path, const FileDescriptor& onDisk, const DiskEntry& entry) {
    if (!entry.isSparse() && !hasHole(onDisk, entry.size) && hasZeroBlockAhead(onDisk)) {
        report(path, fmt::format("a file with holes, but {} has none", onDisk.path()));
    }
}

/// Whether there is a block of zeros that could be a hole, from the file position on.
bool Checker::hasZeroBlockAhead(const FileDescriptor& file) {
    for (;;) {
        Interruption::check();
        const std::size_t count = file.read(buffer_);
        for (std::size_t begin = 0; begin + holeUnit <= count; begin += holeUnit) {
            const auto* const block = buffer_.data() + begin;
            if (std::all_of(block, block + holeUnit, [](char byte) { return byte == 0; })) {
                return true;
            }
        }
        if (count < buffer_.size()) {
            return false;
        }
    }
}

/// Compares hard links: the names of one file must be names of one file on the other side, too.
void Checker::compareHardLinks(const StoragePath& path, const Layer& layer, std::uint64_t linkGroup,
                               const DiskEntry& onDisk) {
    if (linkGroup == 0 && onDisk.names == 1) {
        return;
    }
    const std::string& diskPath = layer.source.diskPath;
    const DiskFile file{layer.source.order, onDisk.device, onDisk.inode};
    const auto name = std::make_shared<const FirstName>(FirstName{path, diskPath, linkGroup, file});
    const auto sameOnDisk = filesOnDisk_.try_emplace(file, name).first->second;
    if (sameOnDisk != name && (linkGroup == 0 || sameOnDisk->linkGroup != linkGroup)) {
        report(path,
               fmt::format("a separate file, but {} is a hard link of {}", diskPath, sameOnDisk->diskPath));
        return;
    }
    const auto sameStored = linkGroup == 0 ? name : filesStored_.try_emplace(linkGroup, name).first->second;
    if (sameStored != name && sameStored->file != file) {
        report(path, fmt::format("a hard link of {}, but {} and {} are two files", sameStored->path.printed(),
                                 diskPath, sameStored->diskPath));
    }
}

void Checker::compareSpecial(const StoragePath& path, EntryKind kind, const Layer& layer) {
    const std::string& diskPath = layer.source.diskPath;
    const ExportSource::Entry stored = entryAt(path, kind);
    const auto folder =
        layer.above ? layer.above
                    : std::make_shared<const FileDescriptor>(diskParent(diskPath), O_PATH | O_DIRECTORY);
    const DiskEntry onDisk = DiskEntry::in(*folder, diskName(diskPath));
    if (onDisk.kind != kind) {
        throw CommandError(diskPath, std::string("replaced by ") + describe(onDisk.kind));
    }
    if (kind == Kind::SymbolicLink) {
        const std::string target = readDiskLink(*folder, diskName(diskPath));
        if (target != stored.attributes.linkTarget) {
            report(path, fmt::format("a symbolic link to '{}', but {} points to '{}'",
                                     stored.attributes.linkTarget, diskPath, target));
        }
    }
    if (isDevice(kind) && stored.attributes.device != onDisk.number) {
        report(path, fmt::format("device {}:{}, but {} is {}:{}", major(stored.attributes.device),
                                 minor(stored.attributes.device), diskPath, major(onDisk.number),
                                 minor(onDisk.number)));
    }
    compareAttributes(path, stored, diskPath, onDisk, times_);
    ++(kind == Kind::SymbolicLink ? totals_.symbolicLinks : totals_.specialFiles);
    progress_.countEntry();
}

/// @param difference  with its place in the file; bytes are counted from 1, as by cmp(1)
void Checker::reportBytes(const StoragePath& path, const FileDescriptor& onDisk,
                          const std::string& difference) {
    const auto size = stored_.sizeOf(path);
    const auto diskSize = DiskEntry::of(onDisk).size;
    const std::string sizes =
        size == diskSize ? "" : fmt::format("; {}, on disk {}", counted(size, "byte"), diskSize);
    report(path, fmt::format("differs from {} {}{}", onDisk.path(), difference, sizes));
}

void Checker::compareFolderAttributes(const Folder& folder) {
    const auto last = std::find_if(folder.layers.rbegin(), folder.layers.rend(), [](const Layer& layer) {
        return layer.source.scope == ImportSource::Scope::Whole;
    });
    if (last == folder.layers.rend()) {
        return;
    }
    const ImportSource& source = last->source;
    const Times times = isAddedToAfter(folder, source.order) ? Times::Ignore : times_;
    const FileDescriptor onDisk = last->open(readFolderFlags);
    const ExportSource::Entry stored = entryAt(folder.path, Kind::Folder);
    compareAttributes(folder.path, stored, source.diskPath, DiskEntry::of(onDisk), times);
    compareXattrs(folder.path, stored.attributes.xattrs, onDisk);
}

/// Whether imports later than `order` may have created or replaced entries of the folder.
bool Checker::isAddedToAfter(const Folder& folder, unsigned long long order) const {
    const auto isLater = [order](const ImportSource& source) { return source.order > order; };
    const auto names = expected_.namesIn(folder.path);
    return isLater(folder.layers.back().source) ||
           std::any_of(names.begin(), names.end(), [&](const std::u16string& name) {
               const auto sources = expected_.at(folder.path.child(name));
               return std::any_of(sources.begin(), sources.end(), isLater);
           });
}

ExportSource::Entry Checker::entryAt(const StoragePath& path, EntryKind kind) {
    ExportSource::Entry entry = stored_.entryAt(path, kind);
    complete_(path, entry.attributes);
    return entry;
}

void Checker::compareAttributes(const StoragePath& path, const ExportSource::Entry& stored,
                                const std::string& diskPath, const DiskEntry& onDisk, Times times) {
    const DiskAttributes& known = stored.attributes;
    const bool isStored = known.kind == Kind::File || known.kind == Kind::Folder;
    if (isStored && stored.isWritable != onDisk.writable) {
        report(path, fmt::format("{}, but {} is {}", describeWritable(stored.isWritable), diskPath,
                                 describeWritable(onDisk.writable)));
    }
    if (known.mode && known.kind != Kind::SymbolicLink && !modesAgree(stored, onDisk)) {
        report(path,
               fmt::format("permissions {:03o}, but {} has {:03o}", *known.mode, diskPath, onDisk.mode));
    }
    if (known.owner && *known.owner != onDisk.owner) {
        report(path, fmt::format("owner {}:{}, but {} has {}:{}", known.owner->user, known.owner->group,
                                 diskPath, onDisk.owner.user, onDisk.owner.group));
    }
    const timespec modified = known.modified.value_or(timespec{0, UTIME_OMIT});
    const bool hasTime = modified.tv_nsec != UTIME_OMIT; // otherwise an export does not set the time
    if (times == Times::Compare && hasTime && !isSameTime(modified, onDisk.modified)) {
        report(path, fmt::format("modified {}, but {} was modified {}", formatDiskTime(modified), diskPath,
                                 formatDiskTime(onDisk.modified)));
    }
}

void Checker::compareXattrs(const StoragePath& path, const Xattrs& known, const FileDescriptor& onDisk) {
    const Xattrs other = readXattrs(onDisk);
    if (known == other) {
        return;
    }
    const auto differing = std::mismatch(known.begin(), known.end(), other.begin(), other.end());
    const bool isKnown =
        differing.first != known.end() &&
        (differing.second == other.end() || differing.first->first <= differing.second->first);
    const std::string& name = isKnown ? differing.first->first : differing.second->first;
    const char* const what = !other.contains(name)   ? "missing in"
                             : !known.contains(name) ? "only in"
                                                     : "another value in";
    report(path, fmt::format("extended attribute {}: {} {}", name, what, onDisk.path()));
}

/// Ignores the write bits if the writable flag has changed since the import or differs from the disk: the
/// flag is compared separately.
bool Checker::modesAgree(const ExportSource::Entry& stored, const DiskEntry& onDisk) const {
    const mode_t known = stored.attributes.mode.value();
    mode_t differing = known ^ onDisk.mode;
    const bool isFlagKnown = ((known & S_IWUSR) != 0) == stored.isWritable;
    const bool isStored = stored.attributes.kind == Kind::File || stored.attributes.kind == Kind::Folder;
    if (isStored && (!isFlagKnown || stored.isWritable != onDisk.writable)) {
        differing &= ~writeBits;
    }
    if (against_ == Against::Export) {
        if (isStored && (onDisk.mode & writeBits) == 0) {
            differing &= ~writeBits; // an export clears all write bits
        }
        differing &= ~(known & setIdBits); // an export clears them for a new owner
        if (stored.attributes.kind == Kind::Folder) {
            differing &= ~static_cast<mode_t>(S_ISGID); // inherited from the parent folder
        }
    }
    return differing == 0;
}

void Checker::report(const StoragePath& path, const std::string& difference) {
    console_.report({path.printed(), difference});
}

} // namespace storage::host
