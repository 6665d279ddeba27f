#include "host/mount/LiftedFlag.h"

namespace storage::host {

LiftedFlag::LiftedFlag(const IProvider& provider, const LockedTree& tree, const Inode& inode)
    : provider_(provider) {
    if (!inode.attributes.isWritable() && tree.isStored(inode)) {
        location_ = tree.locationOf(inode);
        provider_.doSetWritable(*location_, true);
    }
}

LiftedFlag::~LiftedFlag() {
    if (!location_) {
        return;
    }
    try {
        provider_.doSetWritable(*location_, false);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Harmless: the kernel checks the permissions of the inode, which did not change.
    }
}

} // namespace storage::host
