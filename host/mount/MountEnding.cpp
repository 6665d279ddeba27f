#include "host/mount/MountEnding.h"

#include "host/mount/EndingReport.h"
#include "host/support/Interruption.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

namespace storage::host {

namespace {

/// Exports are repeated for writes that arrive late. The limit is for a program that never stops changing a
/// mapped file.
constexpr unsigned mostExports = 5;

/// Waiting helps when a disk comes back or gets free space. After that the content is safer in the rescue
/// folder.
constexpr std::array pausesAfterExports{std::chrono::seconds(1), std::chrono::seconds(2),
                                        std::chrono::seconds(0)};

constexpr std::chrono::seconds retryPause(5); ///< after the rescue folder failed too

/// @return false if a signal has arrived
bool pause(std::chrono::seconds length) {
    timespec time{length.count(), 0};
    return Interruption::pending() == 0 && ::nanosleep(&time, nullptr) == 0;
}

/// @return whether a signal had arrived, which is handled now
bool takeSignal() {
    const bool hasArrived = Interruption::pending() != 0;
    Interruption::clear();
    return hasArrived;
}

} // namespace

MountEnding::MountEnding(std::string mountPoint, const FuseSession& session, FuseWorkers& workers,
                         MountedStorage& storage, ChangeGate& gate, UnmountRequests& requests,
                         ExitExport* exitExport, RescueFolder& rescue, Console& console)
    : mountPoint_(std::move(mountPoint)),
      session_(session),
      workers_(workers),
      storage_(storage),
      gate_(gate),
      requests_(requests),
      exitExport_(exitExport),
      rescue_(rescue),
      console_(console) {}

void MountEnding::run() {
    runUntilEnded();
    if (const std::string text = unkept(); !text.empty()) {
        console_.notice(mountPoint_, text);
    }
}

void MountEnding::runUntilEnded() {
    for (;;) {
        const FuseWorkers::End end = workers_.waitForEnd(requests_.descriptor());
        Interruption::clear(); // the signal that ends the mount must not cancel the export too
        console_.beginCommand("mount");
        if (end == FuseWorkers::End::Unmounted) {
            workers_.stop();
            saveUnmounted();
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

/// Ends the mount, or reports why it stays.
MountEnding::Saved MountEnding::attempt() {
    requests_.begin();
    EndingReport report(console_, requests_);
    if (tryToEnd() == Saved::Yes) {
        rescue_.removeNote();
        return Saved::Yes;
    }
    if (workers_.hasEnded()) {
        return Saved::No; // unmounted meanwhile
    }
    Interruption::clear(); // a signal may have cancelled the export; the next one ends the mount
    exportFailed_ = true;
    reasons_ = report.lines();
    writeNote("It is still mounted, and nothing is lost. Fix the cause, then run 'qzstorage unmount " +
              mountPoint_ + "' to export it.");
    requests_.fail(report.summary());
    console_.notice(exitExport_->target(),
                    "the export is incomplete, so the storage stays mounted; retry with 'qzstorage unmount " +
                        mountPoint_ + "'; another Ctrl-C or signal discards what was not exported");
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
    requests_.finish(unkept());
    session_.place().unmount();
    workers_.stop();
    return Saved::Yes;
}

void MountEnding::flush(MountFreeze& freeze) {
    console_.attempt(mountPoint_, [&] {
        if (freeze.flush() == MountFreeze::Reached::No && !workers_.hasEnded()) {
            console_.report(
                {mountPoint_,
                 "another mount covers it, so the latest writes cannot be saved; unmount that first"});
        }
    });
}

/// Exports before it settles: the export reads what programs saw, and settling fills holes.
MountEnding::Saved MountEnding::save() {
    if (exitExport_ != nullptr) {
        try {
            exitExport_->run(storage_);
        } catch (const Interrupted& interrupted) {
            console_.report({exitExport_->target(), interrupted.what()});
        }
        if (console_.failuresOfCommand() != 0) {
            return Saved::No;
        }
    }
    settle();
    return Saved::Yes;
}

/// After the unmount, memory holds the only copy of the content of a volatile storage. A signal ends the
/// attempts to export, a second one also those to copy to the rescue folder.
void MountEnding::saveUnmounted() {
    bool isTargetGivenUp = false;
    for (;;) {
        if (!isTargetGivenUp && trySeveralTimes() == Saved::Yes) {
            rescue_.removeNote();
            return;
        }
        isTargetGivenUp = takeSignal() || isTargetGivenUp;
        if (copyToRescue() == Saved::Yes) {
            return;
        }
        if (!pause(retryPause) && std::exchange(isTargetGivenUp, true)) {
            giveUp();
            return;
        }
    }
}

MountEnding::Saved MountEnding::trySeveralTimes() {
    for (const std::chrono::seconds wait : pausesAfterExports) {
        console_.beginCommand("mount");
        const EndingReport report(console_, requests_);
        if (save() == Saved::Yes) {
            return Saved::Yes;
        }
        reasons_ = report.lines();
        if (!pause(wait)) {
            break;
        }
    }
    return Saved::No;
}

MountEnding::Saved MountEnding::copyToRescue() {
    const auto failuresBefore = console_.failuresOfCommand();
    writeNote("It is already unmounted, so its content is being copied to '" + rescue_.content() +
              "'. If the program has exited and this note still says so, the copy is incomplete.");
    try {
        exitExport_->copyTo(rescue_.content(), storage_);
    } catch (const Interrupted& interrupted) {
        console_.report({rescue_.content(), interrupted.what()});
    }
    if (console_.failuresOfCommand() != failuresBefore) {
        return Saved::No;
    }
    writeNote("It is already unmounted, so its content has been copied to '" + rescue_.content() + "'.");
    console_.report({exitExport_->target(),
                     "the export is incomplete; everything is in " + rescue_.content() + " instead"});
    return Saved::Yes;
}

void MountEnding::writeNote(const std::string& state) {
    if (exitExport_ == nullptr) {
        return;
    }
    std::vector<std::string> lines{"The storage mounted at '" + mountPoint_ +
                                       "' could not be exported completely to '" + exitExport_->target() +
                                       "'.",
                                   state, "", "What could not be exported, and why:"};
    lines.insert(lines.end(), reasons_.begin(), reasons_.end());
    try {
        rescue_.write(lines);
    } catch (...) {
        const Failure failure = Failure::ofCurrentException(rescue_.path());
        console_.notice(failure.path, "cannot write the note: " + failure.reason);
    }
}

/// Reports failures and continues, because there is nothing to wait for. A volatile storage is not settled.
void MountEnding::settle() {
    if (!storage_.isPersistent()) {
        return;
    }
    console_.attempt(mountPoint_, [&] {
        const MountedStorage::Unsettled unsettled = storage_.settle();
        for (const Failure& failure : unsettled.failures) {
            console_.report(
                {failure.path,
                 "its size or time in the storage may differ from the mounted file: " + failure.reason});
        }
        for (const std::string& path : unsettled.withHoles) {
            console_.notice(path,
                            "not stored completely: the storage has no space to fill its holes with zeros");
        }
    });
}

/// What the mount kept and a persistent storage does not, as text. Empty if there was an export.
std::string MountEnding::unkept() const {
    return exitExport_ == nullptr && storage_.isPersistent() ? storage_.unkept().summary() : "";
}

void MountEnding::giveUp() {
    console_.report({exitExport_->target(), "export aborted; what was not saved is lost"});
    writeNote("A signal ended the mount before everything was saved. What is neither exported nor in '" +
              rescue_.content() + "' is lost.");
    session_.place().unmount();
    workers_.stop();
}

} // namespace storage::host
