#include "host/commands/FileRemoval.h"

namespace storage::host {

void removeFileEvenIfReadOnly(Session& session, const StoragePath& file) {
    const auto& provider = session.provider(file);
    const bool isWritable = provider.doGetFileAttributes(file.iri()).isWritable();
    if (!isWritable) {
        provider.doSetWritable(file.iri(), true);
    }
    try {
        provider.doRemoveFile(file.iri());
    } catch (...) {
        if (!isWritable) {
            try {
                provider.doSetWritable(file.iri(), false);
            } catch (...) { // the first failure is reported
            }
        }
        throw;
    }
    session.kept(file).removed(file);
}

} // namespace storage::host
