#include "tests/support/HookedProvider.h"

#include "tests/support/ForwardingStream.h"

using foundation::storage::provider::ExtendedFeature;
using foundation::storage::provider::FileAttributes;
using foundation::storage::provider::FolderAttributes;
using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IFolderEntryIterator;

class HookedProvider::HookedStream final : public ForwardingStream {
public:
    HookedStream(std::unique_ptr<ByteStream> inner, const HookedProvider& provider, const StorageIRI& iri)
        : ForwardingStream(std::move(inner)), provider_(provider), iri_(iri) {}

    long read(char* buffer, long count) override {
        provider_.before("read", iri_);
        provider_.beforeRead();
        return inner().read(buffer, count);
    }
    long write(const char* buffer, long count) override {
        provider_.before("write", iri_);
        provider_.beforeWrite();
        return inner().write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        provider_.before("seek", iri_);
        return inner().seek(offset, direction);
    }
    void flush() override {
        provider_.before("flush", iri_);
        inner().flush();
    }

private:
    const HookedProvider& provider_;
    const StorageIRI iri_;
};

class HookedProvider::HookedListing final : public IFolderEntryIterator {
public:
    HookedListing(Listing inner, const HookedProvider& provider, const StorageIRI& iri)
        : inner_(std::move(inner)), provider_(provider), iri_(iri) {}

    FolderEntry getEntry() const override {
        provider_.before("getEntry", iri_);
        return inner_->getEntry();
    }
    bool hasNext() const override {
        provider_.before("hasNext", iri_);
        return inner_->hasNext();
    }
    void step() override {
        provider_.before("step", iri_);
        inner_->step();
    }
    Listing clone() const override {
        provider_.before("clone", iri_);
        return provider_.hooked(inner_->clone(), iri_);
    }

private:
    Listing inner_;
    const HookedProvider& provider_;
    const StorageIRI iri_;
};

void HookedProvider::doCreateFile(const StorageIRI& iri) const {
    before("createFile", iri);
    inner_->doCreateFile(iri);
}

void HookedProvider::doCreateFolder(const StorageIRI& iri) const {
    before("createFolder", iri);
    inner_->doCreateFolder(iri);
}

bool HookedProvider::doFileExists(const StorageIRI& iri) const {
    before("fileExists", iri);
    return inner_->doFileExists(iri);
}

bool HookedProvider::doFolderExists(const StorageIRI& iri) const {
    before("folderExists", iri);
    return inner_->doFolderExists(iri);
}

void HookedProvider::doRemoveFile(const StorageIRI& iri) const {
    before("removeFile", iri);
    inner_->doRemoveFile(iri);
}

void HookedProvider::doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    before("moveFile", from);
    inner_->doMoveFile(from, to, policy);
}

void HookedProvider::doRemoveFolder(const StorageIRI& iri) const {
    before("removeFolder", iri);
    inner_->doRemoveFolder(iri);
}

void HookedProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    before("moveFolder", from);
    inner_->doMoveFolder(from, to, policy);
}

FileAttributes HookedProvider::doGetFileAttributes(const StorageIRI& iri) const {
    before("getFileAttributes", iri);
    return inner_->doGetFileAttributes(iri);
}

FolderAttributes HookedProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    before("getFolderAttributes", iri);
    return inner_->doGetFolderAttributes(iri);
}

std::unique_ptr<HookedProvider::ByteStream> HookedProvider::doOpenStream(const StorageIRI& iri,
                                                                         const OpenOptions& options) const {
    before("openStream", iri);
    return std::make_unique<HookedStream>(inner_->doOpenStream(iri, options), *this, iri);
}

std::unique_ptr<HookedProvider::ByteStream>
HookedProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    before("openReadOnlyStream", iri);
    return std::make_unique<HookedStream>(inner_->doOpenReadOnlyStream(iri), *this, iri);
}

HookedProvider::Listing HookedProvider::doListAll(const StorageIRI& iri) const {
    before("listAll", iri);
    return hooked(inner_->doListAll(iri), iri);
}

HookedProvider::Listing HookedProvider::doListFiles(const StorageIRI& iri) const {
    before("listFiles", iri);
    return hooked(inner_->doListFiles(iri), iri);
}

HookedProvider::Listing HookedProvider::doListFolders(const StorageIRI& iri) const {
    before("listFolders", iri);
    return hooked(inner_->doListFolders(iri), iri);
}

void HookedProvider::doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const {
    before("setLastModified", iri);
    inner_->doSetLastModified(iri, time);
}

void HookedProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    before("setWritable", iri);
    inner_->doSetWritable(iri, writable);
}

bool HookedProvider::doHasFeature(const ExtendedFeature& feature) const {
    before("hasFeature", StorageIRI(u"/"));
    return inner_->doHasFeature(feature);
}

void HookedProvider::doShutdown() {
    before("shutdown", StorageIRI(u"/"));
}

HookedProvider::Listing HookedProvider::hooked(Listing listing, const StorageIRI& iri) const {
    return std::make_unique<HookedListing>(std::move(listing), *this, iri);
}
