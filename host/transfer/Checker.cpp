#include "host/transfer/Checker.h"

#include "host/disk/DiskFolder.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/Listing.h"
#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>

namespace storage::host {

using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::FolderEntry;

namespace {

constexpr bool isStorable(DiskEntry::Kind kind) {
    return kind == DiskEntry::Kind::File || kind == DiskEntry::Kind::Folder;
}

const char* describe(FolderEntry::EntryType type) {
    return describe(type == FolderEntry::EntryType::Folder ? DiskEntry::Kind::Folder : DiskEntry::Kind::File);
}

const char* describeWritable(bool writable) {
    return writable ? "writable" : "read-only";
}

} // namespace

Checker::Checker(const IProvider& provider, Console& console, const Interruption& interruption,
                 const ImportLog& imports, Times times)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      imports_(imports),
      times_(times),
      progress_(console),
      buffer_(transferBufferSize),
      diskBuffer_(transferBufferSize) {}

void Checker::run(const StoragePath& path, const std::string& diskPath) {
    open_.clear();
    const auto kind = DiskEntry::at(diskPath, DiskEntry::Links::Follow).kind;
    const bool isFolder = requireEntry(provider_, path) == EntryExistence::Folder;
    compareEntries(path, isFolder ? EntryType::Folder : EntryType::File, {diskPath, kind});
    while (!open_.empty()) {
        interruption_.check();
        const Pair pair = std::move(open_.back());
        open_.pop_back();
        console_.attempt(pair.path.printed(), [&] { compareFolders(pair); });
    }
}

void Checker::compareFolders(const Pair& pair) {
    DiskChildren onDisk = listDisk(pair.diskPath);
    ++totals_.folders;
    progress_.countEntry();
    for (const FolderEntry& entry : sortedEntries(provider_.doListAll(pair.path.iri()))) {
        interruption_.check();
        const StoragePath path = pair.path.child(entry.getName());
        const auto found = onDisk.find(entry.getName());
        if (found == onDisk.end()) {
            reportNotOnDisk(path);
            continue;
        }
        console_.attempt(path.printed(), [&] { compareEntries(path, entry.getType(), found->second); });
        onDisk.erase(found);
    }
    for (const auto& [name, child] : onDisk) {
        report(pair.path.child(name),
               fmt::format("missing, {} is {}", child.path, storage::host::describe(child.kind)));
    }
}

Checker::DiskChildren Checker::listDisk(const std::string& folder) {
    DiskChildren children;
    for (const std::string& name : listDiskFolder(folder, DiskEntry::Links::Follow)) {
        console_.attempt(folder, [&] { addDiskChild(folder, name, children); });
    }
    return children;
}

void Checker::addDiskChild(const std::string& folder, const std::string& name, DiskChildren& children) {
    const std::string path = diskChild(folder, name);
    const auto kind = DiskEntry::at(path, DiskEntry::Links::Inspect).kind;
    if (!isStorable(kind)) {
        return;
    }
    const auto storageName = toUtf16(name);
    if (!storageName) {
        console_.report({path, "missing, as the name is not UTF-8"});
        return;
    }
    children.emplace(*storageName, DiskChild{path, kind});
}

void Checker::compareEntries(const StoragePath& path, EntryType type, const DiskChild& onDisk) {
    const auto kind = type == EntryType::Folder ? DiskEntry::Kind::Folder : DiskEntry::Kind::File;
    if (onDisk.kind != kind) {
        report(path, fmt::format("{}, but {} is {}", describe(type), onDisk.path,
                                 storage::host::describe(onDisk.kind)));
    } else if (type == EntryType::Folder) {
        open_.push_back({path, onDisk.path});
    } else {
        compareFiles({path, onDisk.path});
    }
}

void Checker::reportNotOnDisk(const StoragePath& path) {
    if (!imports_.hasImportAt(path)) {
        report(path, "not on disk");
    }
}

void Checker::compareFiles(const Pair& pair) {
    const FileDescriptor onDisk(pair.diskPath, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    compareBytes(pair, onDisk);
    compareAttributes(pair, DiskEntry::of(onDisk));
    ++totals_.files;
    progress_.countEntry();
}

void Checker::compareBytes(const Pair& pair, const FileDescriptor& onDisk) {
    ByteStreamDevice stored(provider_.doOpenReadOnlyStream(pair.path.iri()));
    unsigned long long offset = 0;
    for (;;) {
        interruption_.check();
        const auto got = stored.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        const auto count = static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
        const std::size_t diskCount = onDisk.read(diskBuffer_, interruption_);
        const auto [here, there] =
            std::mismatch(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(count),
                          diskBuffer_.begin(), diskBuffer_.begin() + static_cast<std::ptrdiff_t>(diskCount));
        const auto equal = static_cast<std::size_t>(here - buffer_.begin());
        offset += equal;
        progress_.countBytes(equal);
        if (equal != count || equal != diskCount) {
            report(pair.path, fmt::format("differs from {} from byte {} on", pair.diskPath, offset));
            return;
        }
        if (count == 0) {
            totals_.bytes += offset;
            return;
        }
    }
}

void Checker::compareAttributes(const Pair& pair, const DiskEntry& onDisk) {
    const auto stored = provider_.doGetFileAttributes(pair.path.iri());
    if (stored.isWritable() != onDisk.writable) {
        report(pair.path, fmt::format("{}, but {} is {}", describeWritable(stored.isWritable()),
                                      pair.diskPath, describeWritable(onDisk.writable)));
    }
    if (times_ == Times::Compare && stored.getLastModified() != onDisk.lastModified) {
        report(pair.path, fmt::format("modified {}, but {} was modified {}",
                                      formatMicroseconds(stored.getLastModified()), pair.diskPath,
                                      formatMicroseconds(onDisk.lastModified)));
    }
}

void Checker::report(const StoragePath& path, const std::string& difference) {
    console_.report({path.printed(), difference});
}

} // namespace storage::host
