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
std::shared_ptr<InMemoryFileEntry> makeFileEntry(const InMemoryEntryPath& path,
                                                 const boost::posix_time::ptime& time);

/// An empty, writable folder that belongs to no folder yet.
std::shared_ptr<InMemoryFolderEntry> makeFolderEntry(const InMemoryEntryPath& path,
                                                     const boost::posix_time::ptime& time);

/// @throws ReadOnlyException  naming the entry, when it is not writable
void requireWritable(const InMemoryEntry& entry);

/// The file at `path` in `parent`.
/// @throws EntryNotFoundException  naming `path`, also when a folder is there
std::shared_ptr<InMemoryFileEntry> requireFile(const InMemoryFolderEntry& parent,
                                               const InMemoryEntryPath& path);

/// The folder at `path` in `parent`.
/// @throws EntryNotFoundException  naming `path`, also when a file is there
std::shared_ptr<InMemoryFolderEntry> requireFolder(const InMemoryFolderEntry& parent,
                                                   const InMemoryEntryPath& path);

/// @throws EntryExistsException  naming `path`, when `parent` has a child of either kind there
void requireNoChild(const InMemoryFolderEntry& parent, const InMemoryEntryPath& path);

} // namespace storage::inmemoryprovider
