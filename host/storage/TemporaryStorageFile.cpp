#include "host/storage/TemporaryStorageFile.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

using provider::ErrorCode;
using provider::Exception;
using provider::IProvider;
using provider::ReplacementPolicy;

namespace {

StoragePath createBeside(const IProvider& provider, const StoragePath& target) {
    for (unsigned number = 0;; ++number) {
        StoragePath path = target.parent().child(toUtf16(fmt::format(".qzstorage-import-{}", number)));
        try {
            provider.doCreateFile(path.iri());
            return path;
        } catch (const Exception& failure) {
            if (failure.getErrorCode() != ErrorCode::AlreadyExists) {
                throw Exception(failure.getErrorCode(), target.iri());
            }
        }
    }
}

/// Makes a read-only file writable, and read-only again unless it was replaced.
class ReplaceableFile {
public:
    ReplaceableFile(const IProvider& provider, const StoragePath& path)
        : provider_(provider),
          path_(path),
          isLifted_(!provider.doGetFileAttributes(path.iri()).isWritable()) {
        if (isLifted_) {
            provider_.doSetWritable(path_.iri(), true);
        }
    }
    ~ReplaceableFile() {
        if (!isLifted_) {
            return;
        }
        try {
            provider_.doSetWritable(path_.iri(), false);
        } catch (...) { // the failure to replace the file is reported instead
        }
    }
    ReplaceableFile(const ReplaceableFile&) = delete;
    ReplaceableFile& operator=(const ReplaceableFile&) = delete;

    void replaced() noexcept { isLifted_ = false; }

private:
    const IProvider& provider_;
    const StoragePath& path_;
    bool isLifted_;
};

} // namespace

TemporaryStorageFile::TemporaryStorageFile(const IProvider& provider, const StoragePath& target)
    : provider_(provider), target_(target), path_(createBeside(provider, target)) {}

TemporaryStorageFile::~TemporaryStorageFile() {
    if (!isOwned_) {
        return;
    }
    try {
        provider_.doRemoveFile(path_.iri());
    } catch (...) { // the failure that is unwinding is reported instead
    }
}

void TemporaryStorageFile::moveIntoPlace() {
    ReplaceableFile old(provider_, target_);
    try {
        provider_.doMoveFile(path_.iri(), target_.iri(), ReplacementPolicy::ReplaceExisting);
    } catch (const Exception& failure) {
        throw Exception(failure.getErrorCode(), target_.iri());
    }
    isOwned_ = false;
    old.replaced();
}

} // namespace storage::host
