#pragma once

#include "host/mount/ChangeGate.h"
#include "host/mount/FuseSession.h"
#include "host/mount/FuseWorkers.h"
#include "host/mount/MountedStorage.h"

#include <cstdint>

namespace storage::host {

/// Freezes a mounted storage during its lifetime: programs can read, and their changes fail with EROFS.
///
/// The kernel accepts most writes without a request. So the attributes of all files that it refers to are
/// invalidated: then it requests them before each write, and gets the error. `flush` makes the kernel write
/// back what it accepted before. A concurrent write, or a write to a file that the kernel looked up at that
/// moment, may still be accepted; the next `flush` covers it. A read of such a file may fail with EROFS:
/// its request for the attributes looks like that of a write.
///
/// Borrows all constructor arguments. Precondition: the workers are running. Not thread-safe.
class MountFreeze {
public:
    MountFreeze(const FuseSession& session, FuseWorkers& workers, MountedStorage& storage, ChangeGate& gate);
    ~MountFreeze();
    MountFreeze(const MountFreeze&) = delete;
    MountFreeze& operator=(const MountFreeze&) = delete;

    enum class Reached { Yes, No };

    /// Waits until the storage has all data that programs wrote.
    /// @return whether the mount could be reached
    Reached flush();

    /// Number of late changes since the first freeze of this mount. While it is constant, the storage does
    /// not change.
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
