#include "host/storage/UnfinishedFile.h"

namespace storage::host {

UnfinishedFile::~UnfinishedFile() {
    if (finished_) {
        return;
    }
    try {
        provider_.doRemoveFile(iri_);
    } catch (...) { // the failure that left the file unfinished is the one to report
    }
}

} // namespace storage::host
