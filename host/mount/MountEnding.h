#pragma once

#include "host/console/Console.h"
#include "host/mount/ChangeGate.h"
#include "host/mount/ExitExport.h"
#include "host/mount/FuseSession.h"
#include "host/mount/FuseWorkers.h"
#include "host/mount/MountFreeze.h"
#include "host/mount/MountedStorage.h"
#include "host/mount/RescueFolder.h"
#include "host/mount/UnmountRequests.h"
#include "host/support/Interruption.h"

#include <chrono>
#include <string>
#include <vector>

namespace storage::host {

/// Ends a mount. Unmounts only after the content has been exported, or on a signal after a failed export. If
/// another program has unmounted it before, the content stays in memory until it is exported or copied to the
/// rescue folder, or until two signals end the attempts.
///
/// Borrows all constructor arguments. Precondition: the workers are running. Not thread-safe.
class MountEnding {
public:
    /// @param exitExport  null if there is no export
    MountEnding(std::string mountPoint, const FuseSession& session, FuseWorkers& workers,
                MountedStorage& storage, ChangeGate& gate, UnmountRequests& requests, ExitExport* exitExport,
                RescueFolder& rescue, Console& console);

    /// Waits for an unmount, a signal or a request, and ends the mount. Reports failures, and what the
    /// storage did not keep, to the console.
    void run();

private:
    enum class Saved { Yes, No };

    void runUntilEnded();
    Saved attempt();
    Saved tryToEnd();
    void flush(MountFreeze& freeze);
    Saved save();
    void saveUnmounted();
    Saved trySeveralTimes();
    Saved copyToRescue();
    void writeNote(const std::string& state);
    void settle();
    std::string unkept() const;
    void giveUp();

    const std::string mountPoint_;
    const FuseSession& session_;
    FuseWorkers& workers_;
    MountedStorage& storage_;
    ChangeGate& gate_;
    UnmountRequests& requests_;
    ExitExport* const exitExport_;
    RescueFolder& rescue_;
    Console& console_;
    bool exportFailed_ = false;
    std::vector<std::string> reasons_; ///< why the last export failed
};

} // namespace storage::host
