#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"
#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <memory>

namespace storage::inmemoryprovider {

// The rules that several operations of the file system share.

/// Entries are made writable; moving a file is what passes a read-only flag on.
inline constexpr bool newEntriesAreWritable = true;

/// UTC, to the microsecond. An operation reads it once, however many entries it stamps.
boost::posix_time::ptime currentTime();

/// An empty, writable file that belongs to no folder yet.
std::shared_ptr<InMemoryFileEntry> makeFileEntry(InMemoryEntryPath path,
                                                 const boost::posix_time::ptime& time);

/// An empty, writable folder that belongs to no folder yet.
std::shared_ptr<InMemoryFolderEntry> makeFolderEntry(const InMemoryEntryPath& path,
                                                     const boost::posix_time::ptime& time);

/// @throws ReadOnlyException  naming the entry, when it is not writable
void requireWritable(const InMemoryEntry& entry);

// The look-ups below are for holders of the file system's mutex, who keep the children from changing.

/// The place among the children of `parent` of the file at `path`.
/// @throws EntryNotFoundException  naming `path`, also when a folder is there
InMemoryFolderEntry::Children::const_iterator requireFile(const InMemoryFolderEntry& parent,
                                                          const InMemoryEntryPath& path);

/// The place among the children of `parent` of the folder at `path`.
/// @throws EntryNotFoundException  naming `path`, also when a file is there
InMemoryFolderEntry::Children::const_iterator requireFolder(const InMemoryFolderEntry& parent,
                                                            const InMemoryEntryPath& path);

/// The file that `child` is.
InMemoryFileEntry& fileOf(const InMemoryFolderEntry::Children::value_type& child);

/// The folder that `child` is.
InMemoryFolderEntry& folderOf(const InMemoryFolderEntry::Children::value_type& child);

/// @throws EntryExistsException  naming `path`, when `parent` has a child of either kind there
void requireNoChild(const InMemoryFolderEntry& parent, const InMemoryEntryPath& path);

} // namespace storage::inmemoryprovider
