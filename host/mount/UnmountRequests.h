#pragma once

#include "host/mount/Event.h"
#include "host/mount/Mutex.h"
#include "host/mount/UnmountProtocol.h"

#include <condition_variable>
#include <string_view>

namespace storage::host {

/// Passes requests to end a mount, and the status of the end, between the requesting threads and the thread
/// that ends it.
///
/// Owns the status. Thread-safe; `begin`, `progress`, `fail` and `finish` are for the thread that ends the
/// mount.
class UnmountRequests {
public:
    /// @throws std::system_error
    UnmountRequests() = default;

    /// Requests the end, unless an attempt is running.
    /// @return the status, with the number of this attempt
    UnmountStatus start();

    /// @return the status of the last attempt
    UnmountStatus status();

    /// Readable if the end was requested and no attempt has begun since.
    int descriptor() const noexcept { return requested_.descriptor(); }

    /// Notes that an attempt begins, requested or not.
    void begin();

    /// @param text  the progress of the attempt
    void progress(std::string_view text);

    /// Notes that the attempt has failed.
    /// @param text  the reason
    void fail(std::string_view text);

    /// Notes that the attempt has succeeded and the unmount follows. Waits until all requesters have received
    /// that, with a short time limit: some may have exited.
    /// @param text  what the storage did not keep; usually empty
    void finish(std::string_view text);

private:
    using Stage = UnmountStatus::Stage;

    void setText(std::string_view text) QZFL_REQUIRES(mutex_);

    Event requested_;
    Mutex mutex_;
    std::condition_variable_any informed_;
    UnmountStatus status_ QZFL_GUARDED_BY(mutex_);
    unsigned requesters_ QZFL_GUARDED_BY(mutex_) = 0; ///< requesters that wait for the result of the attempt
};

} // namespace storage::host
