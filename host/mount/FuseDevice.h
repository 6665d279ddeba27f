#pragma once

#include "host/mount/Event.h"
#include "host/mount/FuseSession.h"
#include "host/mount/Mutex.h"
#include "host/mount/RequestDevice.h"
#include "host/mount/StorageSpace.h"

namespace storage::host {

/// The kernel's end of a mount. Requests are read from its non-blocking descriptor and processed by libfuse.
///
/// Borrows the session and the space. While memory is exhausted, one request at a time may use the reserve,
/// but no request that makes the storage grow. When requests pause after removals, free memory is returned to
/// the system. Thread-safe.
class FuseDevice final : public RequestDevice {
public:
    /// @throws std::system_error
    FuseDevice(const FuseSession& session, StorageSpace& space);

    bool hasEnded() const noexcept override;
    void end() noexcept override;
    Received receive(fuse_buf& request) override;
    bool hasRequest() const override;
    void waitForRequest() override;
    bool isLong(const fuse_buf& request) const override;
    void process(const fuse_buf& request) override;

    /// Readable when the device has ended.
    int endDescriptor() const noexcept { return ended_.descriptor(); }

private:
    fuse_session* const session_;
    const RequestContext& context_;
    const Event ended_;        ///< `end` was called
    SharedMutex reserveMutex_; ///< shared by requests that may allocate permanently
    StorageSpace& space_;
};

} // namespace storage::host
