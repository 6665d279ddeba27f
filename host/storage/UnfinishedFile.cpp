#include "host/storage/UnfinishedFile.h"

namespace storage::host {

UnfinishedFile::~UnfinishedFile() {
    if (finished_) {
        return;
    }
    try {
        provider_.doRemoveFile(iri_);
    } catch (...) { // the failure that is unwinding is reported instead
    }
}

} // namespace storage::host
