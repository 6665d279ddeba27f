#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"
#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <memory>
#include <string_view>

namespace storage::inmemoryprovider {

// Rules that several operations of the file system share.

/// New entries are writable. Only moving a file preserves a read-only flag.
inline constexpr bool newEntriesAreWritable = true;

/// UTC, to the microsecond. An operation calls it once, also if it stamps several entries.
boost::posix_time::ptime currentTime();

/// An empty, writable file without a parent folder.
std::shared_ptr<InMemoryFileEntry> makeFileEntry(InMemoryEntryPath path,
                                                 const boost::posix_time::ptime& time);

/// An empty, writable folder without a parent folder.
std::shared_ptr<InMemoryFolderEntry> makeFolderEntry(const InMemoryEntryPath& path,
                                                     const boost::posix_time::ptime& time);

/// @throws ReadOnlyException  naming the entry, when it is not writable
void requireWritable(const InMemoryEntry& entry);

// Precondition of the lookups below: the caller holds the file system's mutex, so that the children do not
// change.

/// The position of the file at `path` among the children of `parent`.
/// @throws EntryNotFoundException  naming `path`, also when a folder is there
InMemoryFolderEntry::Children::const_iterator requireFile(const InMemoryFolderEntry& parent,
                                                          std::u16string_view path);

/// The position of the folder at `path` among the children of `parent`.
/// @throws EntryNotFoundException  naming `path`, also when a file is there
InMemoryFolderEntry::Children::const_iterator requireFolder(const InMemoryFolderEntry& parent,
                                                            const InMemoryEntryPath& path);

InMemoryFileEntry& fileOf(const InMemoryFolderEntry::Children::value_type& child);

InMemoryFolderEntry& folderOf(const InMemoryFolderEntry::Children::value_type& child);

/// @throws EntryExistsException  naming `path`, when `parent` has a child of either kind there
void requireNoChild(const InMemoryFolderEntry& parent, const InMemoryEntryPath& path);

} // namespace storage::inmemoryprovider
