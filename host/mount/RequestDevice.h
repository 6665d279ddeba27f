#pragma once

#include "host/mount/KernelCache.h"

namespace storage::host {

/// The source and the processor of requests for `RequestScheduler`. Thread-safe.
class RequestDevice {
public:
    enum class Received { Request, Nothing };

    virtual ~RequestDevice() = default;

    /// Whether no more requests will arrive.
    virtual bool hasEnded() const noexcept = 0;

    /// Ends the device: `waitForRequest` returns from now on.
    virtual void end() noexcept = 0;

    /// Receives a request if there is one. Does not block.
    /// @param request  memory that the device allocates and reuses, and the caller frees
    virtual Received receive(fuse_buf& request) = 0;

    virtual bool hasRequest() const = 0;

    /// Blocks until there is a request or the device has ended.
    virtual void waitForRequest() = 0;

    /// Whether a request may take much longer than waking a thread.
    virtual bool isLong(const fuse_buf& request) const = 0;

    virtual void process(const fuse_buf& request) = 0;
};

} // namespace storage::host
