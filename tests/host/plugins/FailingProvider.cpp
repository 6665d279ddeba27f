#include "hostapi/core/except/IException.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <new>
#include <stdexcept>

namespace {

using namespace foundation::storage::provider;

/// A class that no host can know.
struct UnknownFailure {};

class OwnException final : public foundation::core::except::IException {
public:
    std::u16string getMessage() const override { return u"the tape is torn"; }
    const boost::exception_detail::clone_base* clone() const override { return new OwnException(*this); }
    void rethrow() const override { throw *this; }
};

/// Fails in the way that the location's name asks for.
[[noreturn]] void fail(const StorageIRI& iri) {
    const std::u16string& path = iri.getPath();
    if (path == u"/number") {
        throw 42;
    }
    if (path == u"/unknown") {
        throw UnknownFailure();
    }
    if (path == u"/memory") {
        throw std::bad_alloc();
    }
    if (path == u"/own") {
        throw OwnException();
    }
    if (path == u"/code") {
        throw Exception(static_cast<ErrorCode>(77), iri);
    }
    throw std::runtime_error("the tape\nis stuck");
}

/// A root folder and nothing that works.
class FailingProvider final : public IProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override { fail(iri); }
    void doCreateFolder(const StorageIRI& iri) const override { fail(iri); }
    bool doFileExists(const StorageIRI& iri) const override {
        if (iri.hasParent()) {
            fail(iri);
        }
        return false;
    }
    bool doFolderExists(const StorageIRI& iri) const override {
        if (iri.hasParent()) {
            fail(iri);
        }
        return true;
    }
    void doRemoveFile(const StorageIRI& iri) const override { fail(iri); }
    void doMoveFile(const StorageIRI& iri, const StorageIRI&, const ReplacementPolicy&) const override {
        fail(iri);
    }
    void doRemoveFolder(const StorageIRI& iri) const override { fail(iri); }
    void doMoveFolder(const StorageIRI& iri, const StorageIRI&, const ReplacementPolicy&) const override {
        fail(iri);
    }
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override { fail(iri); }
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override { fail(iri); }
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions&) const override {
        fail(iri);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override { fail(iri); }
    std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const override { fail(iri); }
    std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const override { fail(iri); }
    std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const override { fail(iri); }
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime&) const override {
        fail(iri);
    }
    void doSetWritable(const StorageIRI& iri, bool) const override { fail(iri); }
    bool doHasFeature(const ExtendedFeature&) const override { return false; }
};

} // namespace

extern "C" __attribute__((visibility("default"))) ProviderEntryPoint buildProvider_V1;

void buildProvider_V1(std::shared_ptr<IProvider>* provider) {
    *provider = std::make_shared<FailingProvider>();
}
