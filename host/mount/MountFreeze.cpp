#include "host/mount/MountFreeze.h"

#include <chrono>

namespace storage::host {

namespace {

/// Programs that never stop reading keep the workers busy. The kernel sends its write-back in order, so if
/// none arrives for this long, none is left.
constexpr std::chrono::seconds longestPause(1);

} // namespace

MountFreeze::MountFreeze(const FuseSession& session, FuseWorkers& workers, MountedStorage& storage,
                         ChangeGate& gate)
    : session_(session), workers_(workers), storage_(storage), gate_(gate) {
    gate_.close();
}

MountFreeze::~MountFreeze() {
    gate_.open();
}

MountFreeze::Reached MountFreeze::flush() {
    invalidateAttributes();
    const bool reached = session_.place().writeBack();
    drain();
    return reached ? Reached::Yes : Reached::No;
}

void MountFreeze::invalidateAttributes() {
    storage_.visitReferencedFiles([&](const FileInode* file) {
        invalidateAttributesOf(session_.device(), reinterpret_cast<fuse_ino_t>(file));
    });
}

/// Required because syncfs(2) does not wait until the write-back requests have been processed.
void MountFreeze::drain() {
    std::uint64_t before = 0;
    do {
        before = gate_.lateChanges();
    } while (workers_.drain(longestPause) == RequestScheduler::Drained::No && gate_.lateChanges() != before);
}

} // namespace storage::host
