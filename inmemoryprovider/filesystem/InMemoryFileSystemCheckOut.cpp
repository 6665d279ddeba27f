#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/access/InMemoryByteStream.h"
#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <utility>

namespace storage::inmemoryprovider {

using provider::ByteStream;
using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;

std::unique_ptr<ByteStream> InMemoryFileSystem::checkOutFileEntry(std::u16string_view path,
                                                                  const ByteStreamOpenOptions& options) {
    std::unique_ptr<ByteStream> stream;
    repeatWhileBusy([&] { return tryCheckOutFileEntry(path, options, stream); });
    return stream;
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryCheckOutFileEntry(std::u16string_view path,
                                                                  const ByteStreamOpenOptions& options,
                                                                  std::unique_ptr<ByteStream>& stream) {
    const SpinThenBlockLock lock(mutex_);
    const auto& parent = requireParent(path);
    const auto child = parent->findChild(path);
    const bool create = !child || (*child)->second->isFolder();
    const auto now = currentTime();
    if (create) {
        if (child) { // a folder
            throw EntryExistsException(InMemoryEntryPath::ofNormalText(path));
        }
        if (options.existence == ByteStreamExistence::MustExist) {
            throw EntryNotFoundException(InMemoryEntryPath::ofNormalText(path));
        }
        requireWritable(*parent);
    } else {
        requireWritable(*(*child)->second);
    }

    auto file = create ? makeFileEntry(InMemoryEntryPath::ofNormalText(path), now)
                       : std::static_pointer_cast<InMemoryFileEntry>((*child)->second);
    auto opened = std::make_unique<InMemoryByteStream>(file, options.append);
    if (create) {
        if (!parent->tryAddChild(std::shared_ptr<InMemoryEntry>(file), now)) {
            return parent;
        }
    } else if (options.content == ByteStreamContent::Empty) {
        if (!file->tryTruncate(now)) {
            return file;
        }
    } else { // opening for writing counts as a modification, even if nothing is written
        file->setLastModifiedTime(now);
    }
    stream = std::move(opened);
    return nullptr;
}

std::unique_ptr<ByteStream> InMemoryFileSystem::checkOutFileEntry(std::u16string_view path) const {
    return std::make_unique<InMemoryByteStream>(findFile(path), ByteStreamAppend::WriteAtPosition);
}

} // namespace storage::inmemoryprovider
