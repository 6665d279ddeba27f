#pragma once

#include "host/mount/KernelCache.h"

namespace storage::host {

/// Where requests come from and where they are processed, as `RequestScheduler` sees it. Thread-safe.
class RequestDevice {
public:
    enum class Received { Request, Nothing };

    virtual ~RequestDevice() = default;

    /// Whether no request will come any more.
    virtual bool hasEnded() const noexcept = 0;

    /// Ends the device: `waitForRequest` returns from now on.
    virtual void end() noexcept = 0;

    /// Takes a request if there is one. Does not block.
    /// @param request  the memory is the device's to allocate and reuse, the caller's to free
    virtual Received receive(fuse_buf& request) = 0;

    virtual bool hasRequest() const = 0;

    /// Blocks until there is a request or the device has ended.
    virtual void waitForRequest() = 0;

    /// Whether a request may take much longer than waking a thread.
    virtual bool isLong(const fuse_buf& request) const = 0;

    virtual void process(const fuse_buf& request) = 0;
};

} // namespace storage::host
