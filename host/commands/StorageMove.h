#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/Session.h"
#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

/// Moves a file or tree to another storage of the session: copies it, compares the copy with the source, and
/// removes the source. The source is removed only if the copy is complete and equal.
///
/// Borrows session and progress. Not thread-safe.
class StorageMove {
public:
    enum class Existing {
        Refused,
        Replaced, ///< a writable file with a file, an empty folder with a folder
    };

    StorageMove(Session& session, ProgressMeter& progress, Existing existing)
        : session_(session), progress_(progress), existing_(existing) {}

    /// @param source  an existing entry
    /// @param target  in another storage
    /// @throws CommandError when the move failed; entries copied so far stay in both storages
    /// @throws Interrupted
    void run(const StoragePath& source, const StoragePath& target);

private:
    bool replaces(provider::EntryExistence kind, const StoragePath& target) const;
    void refuseSameEntry(const StoragePath& source, const StoragePath& target) const;
    void copy(const StoragePath& source, const StoragePath& target);
    void verify(const StoragePath& source, const StoragePath& target);
    void removeSource(const StoragePath& source);

    Session& session_;
    ProgressMeter& progress_;
    const Existing existing_;
};

} // namespace storage::host
