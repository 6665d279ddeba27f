#pragma once

#include "host/mount/ChangeGate.h"
#include "host/mount/FuseOperations.h"
#include "host/mount/HoleSeeker.h"
#include "host/mount/MountOptions.h"
#include "host/mount/MountPlace.h"
#include "host/mount/MountedStorage.h"
#include "host/mount/UnmountRequests.h"

#include <memory>

namespace storage::host {

/// A storage mounted at a folder of the disk, from construction to destruction.
///
/// Owns the connection to the kernel and the mount. Borrows storage, gate and requests. Not thread-safe,
/// except for `device`.
class FuseSession {
public:
    /// @throws CommandError when the storage cannot be mounted there
    FuseSession(MountedStorage& storage, ChangeGate& gate, UnmountRequests& unmounting,
                const MountOptions& options, WriteMode writing);

    /// Unmounts, unless that has been done. Files that programs still have open there become inaccessible.
    ~FuseSession();

    FuseSession(const FuseSession&) = delete;
    FuseSession& operator=(const FuseSession&) = delete;

    fuse_session* device() const noexcept { return session_.get(); }
    const RequestContext& context() const noexcept { return context_; }
    const MountPlace& place() const noexcept { return place_; }

    /// Stop it before the threads that process requests.
    HoleSeeker& seeker() const noexcept { return context_.seeker; }

private:
    void cutConnection() const noexcept;

    struct Destroy {
        void operator()(fuse_session* session) const noexcept { fuse_session_destroy(session); }
    };

    HoleSeeker seeker_;
    RequestContext context_;
    std::unique_ptr<fuse_session, Destroy> session_;
    MountPlace place_;
};

} // namespace storage::host
