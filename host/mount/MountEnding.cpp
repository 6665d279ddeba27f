#include "host/mount/MountEnding.h"

#include "host/mount/EndingReport.h"

#include <utility>

namespace storage::host {

namespace {

/// Writes that the kernel accepted late are exported again, but a program that changes a mapped file never stops.
constexpr unsigned mostExports = 5;

} // namespace

MountEnding::MountEnding(std::string mountPoint, const FuseSession& session, FuseWorkers& workers,
                         MountedStorage& storage, ChangeGate& gate, UnmountRequests& requests,
                         const ExitExport* exitExport, Console& console)
    : mountPoint_(std::move(mountPoint)),
      session_(session),
      workers_(workers),
      storage_(storage),
      gate_(gate),
      requests_(requests),
      exitExport_(exitExport),
      console_(console) {}

void MountEnding::run() {
    for (;;) {
        const FuseWorkers::End end = workers_.waitForEnd(requests_.descriptor());
        Interruption::clear(); // what ends the mount does not end the export too
        console_.beginCommand("mount");
        if (end == FuseWorkers::End::Unmounted) {
            workers_.stop();
            save();
            return;
        }
        if (end == FuseWorkers::End::Interrupted && exportFailed_) {
            giveUp();
            return;
        }
        if (attempt() == Saved::Yes) {
            return;
        }
    }
}

/// Ends the mount, or says why it stays.
MountEnding::Saved MountEnding::attempt() {
    requests_.begin();
    EndingReport report(console_, requests_);
    if (tryToEnd() == Saved::Yes) {
        return Saved::Yes;
    }
    exportFailed_ = true;
    requests_.fail(report.summary());
    console_.notice(exitExport_->target(),
                    "not all of it could be exported, so the storage stays mounted; 'qzstorage unmount " +
                        mountPoint_ +
                        "' tries again, another Ctrl-C or signal gives up what was not exported");
    return Saved::No;
}

MountEnding::Saved MountEnding::tryToEnd() {
    MountFreeze freeze(session_, workers_, storage_, gate_);
    flush(freeze);
    for (unsigned exports = 0; exports < mostExports; ++exports) {
        const auto before = freeze.lateChanges();
        if (save() == Saved::No) {
            return Saved::No;
        }
        freeze.flush();
        if (freeze.lateChanges() == before) {
            break;
        }
    }
    requests_.finish();
    session_.place().takeAway();
    workers_.stop();
    return Saved::Yes;
}

void MountEnding::flush(MountFreeze& freeze) {
    console_.attempt(mountPoint_, [&] {
        if (freeze.flush() == MountFreeze::Reached::No && !workers_.hasEnded()) {
            console_.report(
                {mountPoint_, "something is mounted over it: what programs wrote last cannot be saved"});
        }
    });
}

/// Without an export there is nothing to wait for, whatever fails.
MountEnding::Saved MountEnding::save() {
    settle();
    if (exitExport_ == nullptr) {
        return Saved::Yes;
    }
    try {
        exitExport_->run(storage_);
    } catch (const Interrupted& interrupted) {
        Interruption::clear();
        console_.report({exitExport_->target(), interrupted.what()});
    }
    return console_.failuresOfCommand() == 0 ? Saved::Yes : Saved::No;
}

void MountEnding::settle() {
    console_.attempt(mountPoint_, [&] {
        for (const Failure& failure : storage_.settle()) {
            console_.report({failure.path, "its end or its time is not as it was seen: " + failure.reason});
        }
    });
}

void MountEnding::giveUp() {
    console_.report({exitExport_->target(), "given up: what was not exported is lost"});
    session_.place().takeAway();
    workers_.stop();
}

} // namespace storage::host
