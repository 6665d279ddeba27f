#include "inmemoryprovider/filesystem/TreeRules.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/ReadOnlyException.h"

namespace storage::inmemoryprovider {

namespace {

template <class Entry>
std::shared_ptr<Entry> required(std::shared_ptr<Entry> entry, const InMemoryEntryPath& path) {
    if (!entry) {
        throw EntryNotFoundException(path);
    }
    return entry;
}

} // namespace

boost::posix_time::ptime currentTime() {
    return boost::posix_time::microsec_clock::universal_time();
}

std::shared_ptr<InMemoryFileEntry> makeFileEntry(const InMemoryEntryPath& path,
                                                 const boost::posix_time::ptime& time) {
    return std::make_shared<InMemoryFileEntry>(path, time, newEntriesAreWritable);
}

std::shared_ptr<InMemoryFolderEntry> makeFolderEntry(const InMemoryEntryPath& path,
                                                     const boost::posix_time::ptime& time) {
    return std::make_shared<InMemoryFolderEntry>(path, time, newEntriesAreWritable);
}

std::shared_ptr<InMemoryFileEntry> requireFile(const InMemoryFolderEntry& parent,
                                               const InMemoryEntryPath& path) {
    return required(parent.getFileEntry(path), path);
}

std::shared_ptr<InMemoryFolderEntry> requireFolder(const InMemoryFolderEntry& parent,
                                                   const InMemoryEntryPath& path) {
    return required(parent.getFolderEntry(path), path);
}

void requireWritable(const InMemoryEntry& entry) {
    if (!entry.isWritable()) {
        throw ReadOnlyException(entry.path());
    }
}

void requireNoChild(const InMemoryFolderEntry& parent, const InMemoryEntryPath& path) {
    if (parent.doChildExist(path)) {
        throw EntryExistsException(path);
    }
}

} // namespace storage::inmemoryprovider
