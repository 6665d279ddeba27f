#include "hostapi/core/except/IException.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <new>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

/// A plug-in with one operation that misbehaves if a path contains "bad" or belongs to a copy or validation.
/// Configured by the environment: BAD_PLUGIN="OPERATION MISBEHAVIOUR". OPERATION is an operation of
/// HookedProvider, "entry" or "getFilenameSensitivity". "shutdown" and "getFilenameSensitivity" misbehave for
/// any path. "hasFeature lasting" makes the storage claim to be persistent.

namespace {

using namespace foundation::storage::provider;

/// An exception class that hosts cannot have.
struct UnknownFailure {};

class OwnException final : public foundation::core::except::IException {
public:
    std::u16string getMessage() const override { return u"the tape is torn"; }
    const boost::exception_detail::clone_base* clone() const override { return new OwnException(*this); }
    void rethrow() const override { throw *this; }
};

struct Wish {
    std::string operation;
    std::string misbehaviour;

    static Wish read() {
        const char* const text = std::getenv("BAD_PLUGIN");
        std::istringstream words(text == nullptr ? "" : text);
        Wish wish;
        words >> wish.operation >> wish.misbehaviour;
        return wish;
    }
};

/// Misbehaves in a way that is possible in any operation.
void misbehave(const std::string& misbehaviour, const StorageIRI& iri) {
    if (misbehaviour == "standard") {
        throw std::runtime_error("the tape\nis stuck");
    }
    if (misbehaviour == "number") {
        throw 42;
    }
    if (misbehaviour == "unknown") {
        throw UnknownFailure();
    }
    if (misbehaviour == "own") {
        throw OwnException();
    }
    if (misbehaviour == "memory") {
        throw std::bad_alloc();
    }
    if (misbehaviour == "code") {
        throw Exception(static_cast<ErrorCode>(77), iri);
    }
    if (misbehaviour.starts_with("signal")) {
        std::raise(std::stoi(misbehaviour.substr(6)));
    }
    while (misbehaviour == "wait") {
        ::pause();
    }
    if (misbehaviour == "announce") {
        std::cout << "ready\n" << std::flush;
    }
}

/// The listing of a folder that contains a folder without a name.
class NamelessListing final : public IFolderEntryIterator {
public:
    FolderEntry getEntry() const override { return {u"", FolderEntry::EntryType::Folder}; }
    bool hasNext() const override { return left_; }
    void step() override { left_ = false; }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<NamelessListing>(*this);
    }

private:
    bool left_ = true;
};

class BadProvider final : public HookedProvider {
public:
    explicit BadProvider(Wish wish)
        : HookedProvider(storage::inmemoryprovider::buildInMemoryProvider()), wish_(std::move(wish)) {
        before = [this](const std::string& operation, const StorageIRI& iri) {
            if (operation == wish_.operation && (isBad(iri) || isOfStorage(operation))) {
                misbehave(wish_.misbehaviour, iri);
            }
        };
    }

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions& options) const override {
        return wants("openStream", "nothing", iri) ? nullptr : HookedProvider::doOpenStream(iri, options);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return wants("openReadOnlyStream", "nothing", iri) ? nullptr
                                                           : HookedProvider::doOpenReadOnlyStream(iri);
    }
    Listing doListAll(const StorageIRI& iri) const override {
        if (wants("listAll", "nameless", iri)) {
            return std::make_unique<NamelessListing>();
        }
        return wants("listAll", "nothing", iri) ? nullptr : HookedProvider::doListAll(iri);
    }
    Listing doListFolders(const StorageIRI& iri) const override {
        return wants("listFolders", "nothing", iri) ? nullptr : HookedProvider::doListFolders(iri);
    }
    FilenameSensitivity doGetFilenameSensitivity(const StorageIRI& iri) const override {
        before("getFilenameSensitivity", iri);
        return HookedProvider::doGetFilenameSensitivity(iri);
    }

    bool doHasFeature(const ExtendedFeature& feature) const override {
        return wish_.misbehaviour != "lasting" && HookedProvider::doHasFeature(feature);
    }

private:
    static bool isBad(const StorageIRI& iri) {
        constexpr std::array parts{u"bad", u"/.copy-", u"validate"};
        return std::any_of(parts.begin(), parts.end(), [&](const char16_t* part) {
            return iri.getPath().find(part) != std::u16string::npos;
        });
    }

    static bool isOfStorage(const std::string& operation) {
        return operation == "shutdown" || operation == "getFilenameSensitivity";
    }

    bool wants(const std::string& operation, const std::string& misbehaviour, const StorageIRI& iri) const {
        return operation == wish_.operation && misbehaviour == wish_.misbehaviour && isBad(iri);
    }

    const Wish wish_;
};

} // namespace

void buildProvider_V1(std::shared_ptr<IProvider>* provider) {
    const Wish wish = Wish::read();
    if (wish.operation == "entry") {
        misbehave(wish.misbehaviour, StorageIRI(u"/"));
    }
    if (wish.operation != "entry" || wish.misbehaviour != "nothing") {
        *provider = std::make_shared<BadProvider>(wish);
    }
}
