#include "host/mount/LiftedFlag.h"

namespace storage::host {

LiftedFlag::LiftedFlag(const IProvider& provider, const StorageIRI& iri, const Inode& inode)
    : provider_(provider) {
    if (!inode.attributes.isWritable()) {
        iri_ = iri;
        provider_.doSetWritable(iri, true);
    }
}

LiftedFlag::~LiftedFlag() {
    if (!iri_) {
        return;
    }
    try {
        provider_.doSetWritable(*iri_, false);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The kernel goes by the inode's own permissions, which did not change.
    }
}

} // namespace storage::host
