#include "host/transfer/Checker.h"

#include "host/disk/DiskFolder.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/Listing.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <utility>

namespace storage::host {

using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::FolderEntry;

namespace {

using Kind = DiskEntry::Kind;

constexpr bool isStorable(Kind kind) {
    return kind == Kind::File || kind == Kind::Folder;
}

constexpr Kind kindOf(FolderEntry::EntryType type) {
    return type == FolderEntry::EntryType::Folder ? Kind::Folder : Kind::File;
}

constexpr mode_t setIdBits = S_ISUID | S_ISGID;

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

Checker::Checker(const IProvider& provider, Console& console, const Interruption& interruption,
                 const ImportLog& expected, ModeOf modeOf, Against against, Times times)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      expected_(expected),
      modeOf_(std::move(modeOf)),
      against_(against),
      times_(times),
      progress_(console),
      buffer_(transferBufferSize),
      diskBuffer_(transferBufferSize) {}

void Checker::run() {
    open_.clear();
    for (const StoragePath& top : expected_.topmost()) {
        interruption_.check();
        console_.attempt(top.printed(), [&] { compareTop(top); });
        while (!open_.empty()) {
            interruption_.check();
            const Folder folder = std::move(open_.back());
            open_.pop_back();
            console_.attempt(folder.path.printed(), [&] { compareFolder(folder); });
        }
    }
}

void Checker::compareTop(const StoragePath& path) {
    const Layers layers = layersAt(path);
    if (!layers.empty()) {
        const bool isFolder = requireEntry(provider_, path) == EntryExistence::Folder;
        compareEntry(path, isFolder ? EntryType::Folder : EntryType::File, layers);
    }
}

/// The sources that were imported to exactly this path, as they are now.
Checker::Layers Checker::layersAt(const StoragePath& path) {
    Layers layers;
    for (ImportSource& source : expected_.at(path)) {
        console_.attempt(source.diskPath, [&] {
            const Kind kind = DiskEntry::at(source.diskPath, DiskEntry::Links::Follow).kind;
            layers.push_back({std::move(source), kind, DiskEntry::Links::Follow});
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
    for (const FolderEntry& entry : sortedEntries(provider_.doListAll(folder.path.iri()))) {
        interruption_.check();
        const StoragePath path = folder.path.child(entry.getName());
        const auto found = children.find(entry.getName());
        if (found == children.end()) {
            report(path, "not on disk");
            continue;
        }
        console_.attempt(path.printed(), [&] { compareEntry(path, entry.getType(), found->second); });
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
    const std::string& folder = layer.source.diskPath;
    for (const std::string& name : listDiskFolder(folder, layer.links)) {
        console_.attempt(folder, [&] { addChild(layer, name, children); });
    }
}

void Checker::addChild(const Layer& layer, const std::string& name, Children& children) {
    ImportSource source = layer.source;
    source.diskPath = diskChild(source.diskPath, name);
    source.scope = ImportSource::Scope::Whole;
    const Kind kind = DiskEntry::at(source.diskPath, DiskEntry::Links::Inspect).kind;
    children[toUtf16(name)].push_back({std::move(source), kind, DiskEntry::Links::Inspect});
}

/// Whether an import leaves out entries of this kind.
bool Checker::isSkippedKind(Kind kind) const {
    return against_ == Against::Sources && !isStorable(kind);
}

/// The source that counts: the last one that was imported. If all are skipped, any; nothing without layers.
const Checker::Layer* Checker::counterpart(const Layers& layers) const {
    const auto imported = std::find_if(layers.rbegin(), layers.rend(),
                                       [&](const Layer& layer) { return !isSkippedKind(layer.kind); });
    if (imported != layers.rend()) {
        return &*imported;
    }
    return layers.empty() ? nullptr : &layers.back();
}

void Checker::compareEntry(const StoragePath& path, EntryType type, const Layers& layers) {
    const Layer* const last = counterpart(layers);
    const Kind kind = kindOf(type);
    if (last != nullptr && last->kind != kind) {
        report(path,
               fmt::format("{}, but {} is {}", describe(kind), last->source.diskPath, describe(last->kind)));
    } else if (last != nullptr && kind == Kind::File) {
        compareFile(path, *last);
    } else if (last == nullptr && !expected_.at(path).empty()) {
        return; // that the sources cannot be found has been reported
    } else if (kind == Kind::File) {
        report(path, "a file, but imports went into a folder of this name");
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
    } else if (last != nullptr) {
        report(path, fmt::format("missing, {} is {}", last->source.diskPath, describe(last->kind)));
    } else if (expected_.at(path).empty()) {
        report(path, "missing, a folder that imports went into");
    }
}

void Checker::compareFile(const StoragePath& path, const Layer& layer) {
    const std::string& diskPath = layer.source.diskPath;
    // Not blocking: a fifo that has taken the file's place would wait for a writer forever.
    const int noFollow = layer.links == DiskEntry::Links::Follow ? 0 : O_NOFOLLOW;
    const FileDescriptor onDisk(diskPath, O_RDONLY | O_NONBLOCK | O_NOCTTY | noFollow);
    if (const Kind kind = DiskEntry::of(onDisk).kind; kind != Kind::File) {
        throw CommandError(diskPath, std::string("became ") + describe(kind));
    }
    compareBytes(path, onDisk);
    const auto stored = provider_.doGetFileAttributes(path.iri());
    compareAttributes(path, {EntryType::File, stored.isWritable(), stored.getLastModified()}, diskPath,
                      DiskEntry::of(onDisk), times_);
    ++totals_.files;
    progress_.countEntry();
}

void Checker::compareBytes(const StoragePath& path, const FileDescriptor& onDisk) {
    ByteStreamDevice stored(provider_.doOpenReadOnlyStream(path.iri()));
    for (unsigned long long offset = 0;;) {
        interruption_.check();
        const auto got = stored.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        const auto count = static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
        const std::size_t diskCount = onDisk.read(diskBuffer_, interruption_);
        const std::size_t compared = std::min(count, diskCount);
        const std::size_t equal = equalBytes(buffer_, diskBuffer_, compared);
        offset += equal;
        totals_.bytes += equal;
        progress_.countBytes(equal);
        if (equal != compared) {
            reportBytes(path, onDisk, offset,
                        fmt::format("0x{:02X}, on disk 0x{:02X}", static_cast<unsigned char>(buffer_[equal]),
                                    static_cast<unsigned char>(diskBuffer_[equal])));
            return;
        }
        if (count != diskCount) {
            reportBytes(path, onDisk, offset,
                        count < diskCount ? "it ends there" : "the one on disk ends there");
            return;
        }
        if (count == 0) {
            return;
        }
    }
}

void Checker::reportBytes(const StoragePath& path, const FileDescriptor& onDisk, unsigned long long offset,
                          const std::string& difference) {
    const auto size = provider_.doGetFileAttributes(path.iri()).getSize();
    const auto diskSize = DiskEntry::of(onDisk).size;
    const std::string sizes =
        size == diskSize ? "" : fmt::format("; {}, on disk {}", counted(size, "byte"), diskSize);
    report(path,
           fmt::format("differs from {} from byte {} on: {}{}", onDisk.path(), offset, difference, sizes));
}

void Checker::compareFolderAttributes(const Folder& folder) {
    const auto last = std::find_if(folder.layers.rbegin(), folder.layers.rend(), [](const Layer& layer) {
        return layer.source.scope == ImportSource::Scope::Whole;
    });
    if (last == folder.layers.rend()) {
        return;
    }
    const ImportSource& source = last->source;
    const auto stored = provider_.doGetFolderAttributes(folder.path.iri());
    const Times times = isAddedToAfter(folder, source.order) ? Times::Ignore : times_;
    compareAttributes(folder.path, {EntryType::Folder, stored.isWritable(), stored.getLastModified()},
                      source.diskPath, DiskEntry::at(source.diskPath, last->links), times);
}

/// Whether imports after the one of this order have made or replaced entries in the folder, or may have.
bool Checker::isAddedToAfter(const Folder& folder, unsigned long long order) const {
    const auto isLater = [order](const ImportSource& source) { return source.order > order; };
    const auto names = expected_.namesIn(folder.path);
    return isLater(folder.layers.back().source) ||
           std::any_of(names.begin(), names.end(), [&](const std::u16string& name) {
               const auto sources = expected_.at(folder.path.child(name));
               return std::any_of(sources.begin(), sources.end(), isLater);
           });
}

void Checker::compareAttributes(const StoragePath& path, const StoredAttributes& stored,
                                const std::string& diskPath, const DiskEntry& onDisk, Times times) {
    if (stored.writable != onDisk.writable) {
        report(path, fmt::format("{}, but {} is {}", describeWritable(stored.writable), diskPath,
                                 describeWritable(onDisk.writable)));
    }
    const auto known = modeOf_(path, stored.type);
    if (known && !modesAgree(*known, stored, onDisk)) {
        report(path, fmt::format("permissions {:03o}, but {} has {:03o}", *known, diskPath, onDisk.mode));
    }
    const bool hasTime =
        !stored.lastModified.is_special(); // an export leaves the disk's own in place otherwise
    if (times == Times::Compare && hasTime && stored.lastModified != onDisk.lastModified) {
        report(path,
               fmt::format("modified {}, but {} was modified {}", formatMicroseconds(stored.lastModified),
                           diskPath, formatMicroseconds(onDisk.lastModified)));
    }
}

/// Apart from the owner's write permission: that is the writable flag, which is compared for itself.
bool Checker::modesAgree(mode_t known, const StoredAttributes& stored, const DiskEntry& onDisk) const {
    mode_t differing = known ^ onDisk.mode;
    const bool isFlagKnown = ((known & S_IWUSR) != 0) == stored.writable;
    if (!isFlagKnown || stored.writable != onDisk.writable) {
        differing &= ~writeBits;
    }
    if (against_ == Against::Export) {
        if ((onDisk.mode & writeBits) == 0) {
            differing &= ~writeBits; // an export takes them from everybody
        }
        differing &= ~(known & setIdBits); // a new owner does not get them
        if (stored.type == EntryType::Folder) {
            differing &= ~static_cast<mode_t>(S_ISGID); // the folder above decides
        }
    }
    return differing == 0;
}

void Checker::report(const StoragePath& path, const std::string& difference) {
    console_.report({path.printed(), difference});
}

} // namespace storage::host
