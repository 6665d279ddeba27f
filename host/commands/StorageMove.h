#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/Session.h"
#include "host/storage/StoragePath.h"

namespace storage::host {

/// Moves a file or a tree from one storage of a session to another one: copies it, compares the copy, and removes the
/// source. The source is removed only if all of it was copied and is in the copy.
///
/// Borrows session and progress. Thread safety: one object is for one thread.
class StorageMove {
public:
    enum class Existing {
        Refused,
        Replaced, ///< a writable file by a file, an empty folder by a folder
    };

    StorageMove(Session& session, ProgressMeter& progress, Existing existing)
        : session_(session), progress_(progress), existing_(existing) {}

    /// @param source  an existing entry
    /// @param target  in another storage
    /// @throws CommandError when not all of it could be moved; what was moved is in both storages then
    /// @throws Interrupted
    void run(const StoragePath& source, const StoragePath& target);

private:
    bool replaces(foundation::storage::provider::EntryExistence kind, const StoragePath& target) const;
    void refuseSameEntry(const StoragePath& source, const StoragePath& target) const;
    void copy(const StoragePath& source, const StoragePath& target);
    void verify(const StoragePath& source, const StoragePath& target);
    void removeSource(const StoragePath& source);
    void removeFile(const StoragePath& file);

    Session& session_;
    ProgressMeter& progress_;
    const Existing existing_;
};

} // namespace storage::host
