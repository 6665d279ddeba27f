#include "host/storage/LiftedFolderFlag.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

LiftedFolderFlag::LiftedFolderFlag(const provider::IProvider& provider, const StoragePath& path)
    : provider_(provider), path_(path), isLifted_(!provider.doGetFolderAttributes(path.iri()).isWritable()) {
    if (isLifted_) {
        provider_.doSetWritable(path_.iri(), true);
    }
}

LiftedFolderFlag::~LiftedFolderFlag() {
    if (!isLifted_) {
        return;
    }
    try {
        provider_.doSetWritable(path_.iri(), false);
    } catch (...) { // a failure of the work in the folder takes precedence
    }
}

} // namespace storage::host
