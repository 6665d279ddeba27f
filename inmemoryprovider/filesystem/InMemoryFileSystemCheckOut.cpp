#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/access/InMemoryByteStream.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

namespace storage::inmemoryprovider {

using foundation::storage::provider::ByteStream;
using foundation::storage::provider::ByteStreamAppend;
using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::ByteStreamExistence;
using foundation::storage::provider::ByteStreamOpenOptions;

std::unique_ptr<ByteStream> InMemoryFileSystem::checkOutFileEntry(const InMemoryEntryPath& path,
                                                                  const ByteStreamOpenOptions& options) {
    const std::lock_guard lock(mutex_);
    const auto parent = requireParent(path);
    auto file = parent->getFileEntry(path);
    const auto now = currentTime();
    const bool create = !file;
    if (create) {
        requireNoChild(*parent, path); // a folder
        if (options.existence == ByteStreamExistence::MustExist) {
            throw EntryNotFoundException(path);
        }
        requireWritable(*parent);
        file = makeFileEntry(path, now);
    } else {
        requireWritable(*file);
    }

    auto stream = std::make_unique<InMemoryByteStream>(file, options.append);
    if (create) {
        parent->addChild(file);
        parent->setLastModifiedTime(now);
    }
    // Nothing can fail from here on. Opening for writing counts as modification, whatever is written.
    file->setLastModifiedTime(now);
    if (options.content == ByteStreamContent::Empty) {
        file->truncate();
    }
    return stream;
}

std::unique_ptr<ByteStream> InMemoryFileSystem::checkOutFileEntry(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return std::make_unique<InMemoryByteStream>(requireFile(*requireParent(path), path),
                                                ByteStreamAppend::WriteAtPosition);
}

} // namespace storage::inmemoryprovider
