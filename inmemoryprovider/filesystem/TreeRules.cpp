#include "inmemoryprovider/filesystem/TreeRules.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/ReadOnlyException.h"

#include <chrono>
#include <utility>

namespace storage::inmemoryprovider {

namespace {

enum class Kind { File, Folder };

InMemoryFolderEntry::Children::const_iterator requireChild(const InMemoryFolderEntry& parent,
                                                           std::u16string_view path, Kind kind) {
    const auto child = parent.findChild(path);
    if (!child || (*child)->second->isFolder() != (kind == Kind::Folder)) {
        throw EntryNotFoundException(InMemoryEntryPath::ofNormalText(path));
    }
    return *child;
}

} // namespace

boost::posix_time::ptime currentTime() {
    // Boost's function for this clock converts to calendar fields and back, which costs more than all locks
    // of an operation.
    static const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return epoch + boost::posix_time::microseconds(
                       std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count());
}

std::shared_ptr<InMemoryFileEntry> makeFileEntry(InMemoryEntryPath path,
                                                 const boost::posix_time::ptime& time) {
    return std::make_shared<InMemoryFileEntry>(std::move(path), time, newEntriesAreWritable);
}

std::shared_ptr<InMemoryFolderEntry> makeFolderEntry(const InMemoryEntryPath& path,
                                                     const boost::posix_time::ptime& time) {
    return std::make_shared<InMemoryFolderEntry>(path, time, newEntriesAreWritable);
}

InMemoryFolderEntry::Children::const_iterator requireFile(const InMemoryFolderEntry& parent,
                                                          std::u16string_view path) {
    return requireChild(parent, path, Kind::File);
}

InMemoryFolderEntry::Children::const_iterator requireFolder(const InMemoryFolderEntry& parent,
                                                            const InMemoryEntryPath& path) {
    return requireChild(parent, path.view(), Kind::Folder);
}

InMemoryFileEntry& fileOf(const InMemoryFolderEntry::Children::value_type& child) {
    return static_cast<InMemoryFileEntry&>(*child.second);
}

InMemoryFolderEntry& folderOf(const InMemoryFolderEntry::Children::value_type& child) {
    return static_cast<InMemoryFolderEntry&>(*child.second);
}

void requireWritable(const InMemoryEntry& entry) {
    if (!entry.isWritable()) {
        throw ReadOnlyException(entry.path());
    }
}

void requireNoChild(const InMemoryFolderEntry& parent, const InMemoryEntryPath& path) {
    if (parent.findChild(path)) {
        throw EntryExistsException(path);
    }
}

} // namespace storage::inmemoryprovider
