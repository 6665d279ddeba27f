#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <atomic>
#include <string>

namespace storage::inmemoryprovider {

/// A node of the tree: the base class of files and folders. Always held by std::shared_ptr.
///
/// Owns its full path, which never changes, its last-modified time and its writable flag. The time and the
/// flag are atomic: operations of the file system set the time with its mutex held, the provider's setters
/// change both without it.
///
/// Thread-safe.
class InMemoryEntry {
public:
    /// @param lastModified  UTC, to the microsecond
    InMemoryEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable);
    InMemoryEntry(const InMemoryEntry&) = delete;
    InMemoryEntry& operator=(const InMemoryEntry&) = delete;
    virtual ~InMemoryEntry();

    bool isFolder() const { return doIsFolder(); }

    /// A copy of the full path.
    InMemoryEntryPath getPath() const { return path_; }

    /// A reference to the full path, valid as long as this entry.
    const InMemoryEntryPath& path() const noexcept { return path_; }

    /// The last component of the path; "/" for the root.
    std::u16string getName() const { return path_.filename(); }

    /// UTC, to the microsecond.
    boost::posix_time::ptime getLastModifiedTime() const noexcept;

    /// Accepts any time, including one before the current one.
    void setLastModifiedTime(const boost::posix_time::ptime& time) noexcept;

    bool isWritable() const noexcept;

    void setWritable(bool writable) noexcept;

    /// Same kind and same path; times and flags are not compared.
    bool operator==(const InMemoryEntry& other) const {
        return isFolder() == other.isFolder() && path_ == other.path_;
    }

private:
    virtual bool doIsFolder() const = 0;

    InMemoryEntryPath path_;
    // Stores release, loads acquire: a thread that reads a time or flag also sees all changes that were made
    // before it was set.
    std::atomic<boost::posix_time::ptime> lastModified_;
    std::atomic<bool> writable_;

    static_assert(decltype(lastModified_)::is_always_lock_free);
};

} // namespace storage::inmemoryprovider
