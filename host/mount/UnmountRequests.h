#pragma once

#include "host/mount/Event.h"
#include "host/mount/Mutex.h"
#include "host/mount/UnmountProtocol.h"

#include <condition_variable>
#include <string_view>

namespace storage::host {

/// Where those who ask for the end of a mount meet the thread that ends it.
///
/// Owns the status of the end. Thread-safe; `begin`, `progress`, `fail` and `finish` are for the thread that ends the mount.
class UnmountRequests {
public:
    /// @throws std::system_error
    UnmountRequests() = default;

    /// Asks for the end, unless it is under way. @return the status, with the number of this attempt
    UnmountStatus start();

    /// @return the status of the last attempt
    UnmountStatus status();

    /// Readable when somebody has asked for the end and no attempt has begun since.
    int descriptor() const noexcept { return requested_.descriptor(); }

    /// An attempt begins, asked for or not.
    void begin();

    /// @param text  how far the attempt is
    void progress(std::string_view text);

    /// The attempt has failed.
    /// @param text  why
    void fail(std::string_view text);

    /// The attempt has succeeded and the mount is about to go. Waits until all who asked for it have got to know, but not
    /// for long: some may have gone.
    void finish();

private:
    using Stage = UnmountStatus::Stage;

    void setText(std::string_view text) QZFL_REQUIRES(mutex_);

    Event requested_;
    Mutex mutex_;
    std::condition_variable_any told_;
    UnmountStatus status_ QZFL_GUARDED_BY(mutex_);
    unsigned asking_ QZFL_GUARDED_BY(mutex_) = 0; ///< those who wait for the result of the attempt
};

} // namespace storage::host
