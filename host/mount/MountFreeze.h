#pragma once

#include "host/mount/ChangeGate.h"
#include "host/mount/FuseSession.h"
#include "host/mount/FuseWorkers.h"
#include "host/mount/MountedStorage.h"

#include <cstdint>

namespace storage::host {

/// Keeps a mounted storage as it is, for as long as the object lives: programs can read, and their changes fail with EROFS.
///
/// The kernel accepts most writes without a request. So the attributes of all files that it refers to are invalidated:
/// before each write it asks for them then, and gets the failure. What it accepted before comes with `flush`. A write
/// that was under way, or to a file that the kernel looked up at that moment, may still be accepted; the next `flush`
/// brings it.
///
/// Borrows all that it is made with; workers must be serving. Thread safety: one object is for one thread.
class MountFreeze {
public:
    MountFreeze(const FuseSession& session, FuseWorkers& workers, MountedStorage& storage, ChangeGate& gate);
    ~MountFreeze();
    MountFreeze(const MountFreeze&) = delete;
    MountFreeze& operator=(const MountFreeze&) = delete;

    enum class Reached { Yes, No };

    /// Waits until the storage has everything that programs wrote.
    /// @return whether the mount could be reached
    Reached flush();

    /// Number of changes that have arrived since the first freeze of this mount: as long as it is the same, the storage is.
    std::uint64_t lateChanges() const noexcept { return gate_.lateChanges(); }

private:
    void invalidateAttributes();
    void drain();

    const FuseSession& session_;
    FuseWorkers& workers_;
    MountedStorage& storage_;
    ChangeGate& gate_;
};

} // namespace storage::host
