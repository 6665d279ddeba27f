#include "host/transfer/SessionImportTarget.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TemporaryStorageFile.h"
#include "host/storage/UnfinishedFile.h"
#include "host/support/FileTime.h"
#include "host/transfer/Zeros.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <new>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

using provider::ByteStreamContent;
using provider::EntryExistence;
using provider::StorageIRI;

/// A file of the provider. It has a temporary name in the same folder if it replaces a file.
class SessionImportTarget::NewFile final : public ImportTarget::File {
public:
    NewFile(SessionImportTarget& target, const StoragePath& path)
        : target_(target), path_(path), iri_(path.iri()) {
        if (target_.provider_.doFileExists(iri_)) {
            replacement_ = std::make_unique<TemporaryStorageFile>(target_.provider_, path_);
        } else {
            created_ = std::make_unique<UnfinishedFile>(target_.provider_, iri_);
        }
        const StorageIRI iri = replacement_ ? replacement_->path().iri() : iri_;
        stream_.emplace(target_.provider_.doOpenStream(iri, {.content = ByteStreamContent::Empty}));
    }

    void write(std::span<const char> bytes) override {
        try {
            stream_->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        } catch (const std::bad_alloc&) {
            if (!replacement_) {
                throw;
            }
            throw std::runtime_error(
                "out of memory: the old content of " + path_.printed() +
                " is kept until the new one is complete, and there is no memory for both");
        }
    }

    void writeHole(std::uint64_t count) override {
        writeZeros(count, [this](std::span<const char> zeros) { write(zeros); });
    }

    void moveIntoPlace() {
        stream_.reset();
        if (replacement_) {
            replacement_->moveIntoPlace();
        } else {
            created_->finish();
        }
    }

    void finish(const DiskAttributes& attributes) override {
        moveIntoPlace();
        target_.kept_.set(path_, attributes);
        target_.apply(path_, attributes);
    }

private:
    SessionImportTarget& target_;
    const StoragePath path_;
    const StorageIRI iri_;
    std::unique_ptr<TemporaryStorageFile> replacement_; ///< null for a new file
    std::unique_ptr<UnfinishedFile> created_;           ///< null for a replaced file
    std::optional<ByteStreamDevice> stream_;            ///< destroyed first
};

std::optional<ImportTarget::Existing> SessionImportTarget::find(const StoragePath& path) {
    switch (existence(provider_, path)) {
    case EntryExistence::Missing:
        return std::nullopt;
    case EntryExistence::Folder:
        return Existing{.kind = EntryKind::Folder};
    case EntryExistence::File:
        break;
    }
    const auto stored = provider_.doGetFileAttributes(path.iri());
    const auto time = stored.getLastModified();
    const DiskAttributes known = kept_.find(path, time);
    return Existing{EntryKind::File, stored.getSize(), known.modified.value_or(toDiskTime(time)),
                    known.modified.has_value(), known.linkGroup};
}

void SessionImportTarget::requirePlace(const StoragePath& path) {
    refuseFileAbove(provider_, path);
}

void SessionImportTarget::enterFolder(const StoragePath& path, const DiskAttributes* attributes) {
    std::unique_ptr<const LiftedFolderFlag> lifted;
    if (!provider_.doFolderExists(path.iri())) {
        provider_.doCreateFolder(path.iri());
    } else if (attributes != nullptr) { // an earlier import may have made it read-only
        lifted = std::make_unique<const LiftedFolderFlag>(provider_, path);
    }
    if (attributes != nullptr) {
        kept_.set(path, *attributes);
    } else {
        kept_.changed(path); // a kept symbolic link may have this path
    }
    lifted_.push_back(std::move(lifted));
}

void SessionImportTarget::leaveFolder(const StoragePath& path, const DiskAttributes* attributes) {
    lifted_.pop_back();
    if (attributes != nullptr) {
        apply(path, *attributes);
    }
}

std::unique_ptr<ImportTarget::File> SessionImportTarget::makeFile(const StoragePath& path) {
    return std::make_unique<NewFile>(*this, path);
}

void SessionImportTarget::addName(const StoragePath& existing, const StoragePath& path) {
    if (existing == path) {
        return;
    }
    DiskAttributes attributes = kept_.find(existing, {});
    if (attributes.kind != EntryKind::File && attributes.kind != EntryKind::Folder) {
        attributes.linkGroup = attributes.linkGroup == 0 ? kept_.newLinkGroup() : attributes.linkGroup;
        kept_.set(existing, attributes);
        makeSpecial(path, attributes);
        return;
    }
    requireFile(provider_, existing);
    const auto stored = provider_.doGetFileAttributes(existing.iri());
    const auto time = stored.getLastModified();
    attributes = kept_.find(existing, time);
    attributes.linkGroup = attributes.linkGroup == 0 ? kept_.newLinkGroup() : attributes.linkGroup;
    NewFile copy(*this, path);
    copyBytes(existing, copy);
    copy.moveIntoPlace();
    kept_.set(existing, attributes);
    kept_.set(path, attributes);
    provider_.doSetLastModified(path.iri(), time);
    provider_.doSetWritable(path.iri(), stored.isWritable());
}

void SessionImportTarget::copyBytes(const StoragePath& from, File& to) const {
    ByteStreamDevice stream(provider_.doOpenReadOnlyStream(from.iri()));
    std::vector<char> buffer(transferBufferSize);
    std::streamsize count = 0;
    while ((count = stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size()))) > 0) {
        to.write(std::span(buffer).first(static_cast<std::size_t>(count)));
    }
}

void SessionImportTarget::makeSpecial(const StoragePath& path, const DiskAttributes& attributes) {
    refuseFolder(provider_, path);
    if (provider_.doFileExists(path.iri())) {
        provider_.doSetWritable(path.iri(), true);
        provider_.doRemoveFile(path.iri());
    }
    kept_.set(path, attributes);
}

void SessionImportTarget::apply(const StoragePath& path, const DiskAttributes& attributes) {
    if (attributes.modified) {
        provider_.doSetLastModified(path.iri(), fromDiskTime(*attributes.modified));
    }
    provider_.doSetWritable(path.iri(), (attributes.mode.value() & S_IWUSR) != 0);
}

} // namespace storage::host
