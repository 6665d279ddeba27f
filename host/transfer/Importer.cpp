#include "host/transfer/Importer.h"

#include "host/disk/DiskFolder.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TemporaryStorageFile.h"
#include "host/storage/UnfinishedFile.h"
#include "host/support/CommandError.h"
#include "host/support/Utf.h"

#include <fcntl.h>
#include <new>
#include <utility>

namespace storage::host {

using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::StorageIRI;

Importer::Importer(const IProvider& provider, Console& console, const Interruption& interruption,
                   ImportLog& imports, EntryModes& modes)
    : provider_(provider),
      console_(console),
      interruption_(interruption),
      imports_(imports),
      modes_(modes),
      progress_(console),
      buffer_(transferBufferSize) {}

void Importer::run(const std::string& source, const StoragePath& target, RootAttributes rootAttributes) {
    const DiskEntry entry = DiskEntry::at(source, DiskEntry::Links::Follow);
    refuseFileAbove(provider_, target);
    switch (entry.kind) {
    case DiskEntry::Kind::Folder:
        importTree(source, target, entry, rootAttributes);
        break;
    case DiskEntry::Kind::File:
        importFile(source, target, DiskEntry::Links::Follow);
        logImport(source, target, RootAttributes::FromSource);
        break;
    default:
        throw CommandError(source, std::string(describe(entry.kind)) + ", not a file or folder");
    }
}

void Importer::importTree(const std::string& source, const StoragePath& target, const DiskEntry& entry,
                          RootAttributes rootAttributes) {
    open_.clear(); // an interrupted run leaves its folders here
    enterFolder(source, target, entry, rootAttributes, DiskEntry::Links::Follow);
    logImport(source, target, rootAttributes); // from here on, whatever is missing is for a check to find
    while (!open_.empty()) {
        interruption_.check();
        importNext();
    }
}

void Importer::logImport(const std::string& source, const StoragePath& target,
                         RootAttributes rootAttributes) {
    using Scope = ImportSource::Scope;
    imports_.add(source, target,
                 rootAttributes == RootAttributes::FromSource ? Scope::Whole : Scope::ContentOnly);
}

/// One step: the next entry of the innermost open folder, or the folder's end.
void Importer::importNext() {
    OpenFolder& folder = open_.back();
    if (folder.next == folder.names.size()) {
        OpenFolder done = std::move(folder);
        open_.pop_back();
        console_.attempt(done.target.printed(), [&] { leaveFolder(done); });
        return;
    }
    const std::string& name = folder.names[folder.next++];
    const std::string source = diskChild(folder.source, name);
    const auto storageName = toUtf16(name);
    if (!storageName) {
        console_.report({source, "the name is not UTF-8"});
        return;
    }
    const StoragePath target = folder.target.child(*storageName);
    console_.attempt(source, [&] { importChild(source, target); });
}

void Importer::importChild(const std::string& source, const StoragePath& target) {
    const DiskEntry entry = DiskEntry::at(source, DiskEntry::Links::Inspect);
    switch (entry.kind) {
    case DiskEntry::Kind::Folder:
        enterFolder(source, target, entry, RootAttributes::FromSource, DiskEntry::Links::Inspect);
        break;
    case DiskEntry::Kind::File:
        importFile(source, target, DiskEntry::Links::Inspect);
        break;
    default:
        ++totals_.skipped;
        console_.notice(source, std::string("skipped, ") + describe(entry.kind));
    }
}

void Importer::enterFolder(const std::string& source, const StoragePath& target, const DiskEntry& entry,
                           RootAttributes keeps, DiskEntry::Links links) {
    OpenFolder folder{source, target, entry, keeps, nullptr, listDiskFolder(source, links), 0};
    if (!provider_.doFolderExists(target.iri())) {
        provider_.doCreateFolder(target.iri());
    } else if (keeps == RootAttributes::FromSource) { // an earlier import may have made it read-only
        folder.lifted = std::make_unique<const LiftedFolderFlag>(provider_, target);
    }
    if (keeps == RootAttributes::FromSource) { // also of a folder that an interruption leaves incomplete
        modes_.set(target, EntryModes::Kind::Folder, entry.mode);
    }
    open_.push_back(std::move(folder));
    ++totals_.folders;
    progress_.countEntry();
}

/// Only now: what was added to the folder changed its time, and could not have been added to a read-only one.
void Importer::leaveFolder(OpenFolder& folder) {
    folder.lifted.reset();
    if (folder.keeps == RootAttributes::FromSource) {
        applyAttributes(folder.target, folder.attributes);
    }
}

void Importer::importFile(const std::string& source, const StoragePath& target, DiskEntry::Links links) {
    // Not blocking: a fifo that has taken the file's place would wait for a writer for ever.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | (links == DiskEntry::Links::Follow ? 0 : O_NOFOLLOW);
    const FileDescriptor from(source, flags);
    const DiskEntry attributes = DiskEntry::of(from);
    if (attributes.kind != DiskEntry::Kind::File) {
        throw CommandError(source, std::string("became ") + describe(attributes.kind));
    }
    if (provider_.doFileExists(target.iri())) {
        replaceFile(from, target);
    } else {
        createFile(from, target);
    }
    modes_.set(target, EntryModes::Kind::File, attributes.mode);
    applyAttributes(target, attributes);
    ++totals_.files;
    progress_.countEntry();
}

void Importer::createFile(const FileDescriptor& from, const StoragePath& target) {
    const StorageIRI iri = target.iri();
    UnfinishedFile file(provider_, iri);
    const auto bytes = copyBytes(from, target);
    file.finish();
    totals_.bytes += bytes;
}

void Importer::replaceFile(const FileDescriptor& from, const StoragePath& target) {
    TemporaryStorageFile replacement(provider_, target);
    unsigned long long bytes = 0;
    try {
        bytes = copyBytes(from, replacement.path());
    } catch (const std::bad_alloc&) {
        throw CommandError(from.path(),
                           "out of memory: " + target.printed() +
                               " is kept until it can be replaced, and there is no room for both");
    }
    replacement.moveIntoPlace();
    totals_.bytes += bytes;
}

unsigned long long Importer::copyBytes(const FileDescriptor& from, const StoragePath& target) {
    ByteStreamDevice to(provider_.doOpenStream(target.iri(), {.content = ByteStreamContent::Empty}));
    unsigned long long copied = 0;
    while (const std::size_t count = from.read(buffer_, interruption_)) {
        to.write(buffer_.data(), static_cast<std::streamsize>(count));
        copied += count;
        progress_.countBytes(count);
        interruption_.check();
    }
    return copied;
}

void Importer::applyAttributes(const StoragePath& target, const DiskEntry& attributes) {
    provider_.doSetLastModified(target.iri(), attributes.lastModified);
    provider_.doSetWritable(target.iri(), attributes.writable);
}

} // namespace storage::host
