#pragma once

#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/ListingOfEntries.h"

#include <array>
#include <string>
#include <tuple>
#include <vector>

/// The differences of a provider from the in-memory one. A null function changes nothing.
struct Alterations {
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;
    using Policy = foundation::storage::provider::ReplacementPolicy;
    using Stream = std::unique_ptr<foundation::storage::provider::ByteStream>;
    using Entries = faults::ListingOfEntries::Entries;
    using Time = boost::posix_time::ptime;
    using Move = void (*)(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          const Policy& policy);

    HookedProvider::Hook before = [](const char*, const StorageIRI&) {}; ///< called before every operation
    std::u16string (*name)(std::u16string given) = nullptr; ///< maps a name in a path to the stored name
    bool (*refuses)(std::u16string_view name) = nullptr;    ///< whether the storage refuses a name
    Entries (*entries)(Entries entries) = nullptr;          ///< maps the entries of each listing
    Stream (*stream)(Stream stream) = nullptr;              ///< wraps each stream
    Time (*timeSet)(const Time& given) = nullptr;           ///< maps a given time to the stored one
    Time (*timeOfEntry)(const Time& stored) = nullptr;      ///< maps a stored time to the reported one
    Move moveFile = nullptr;
    Move moveFolder = nullptr;
    void (*createFile)(const IProvider& sound, const StorageIRI& iri) = nullptr;
    void (*removeFolder)(const IProvider& sound, const StorageIRI& iri) = nullptr;
};

/// For `Alterations::stream`: wraps a stream in a class that is constructed from it.
template <class Wrapper>
Alterations::Stream wrapped(Alterations::Stream stream) {
    return std::make_unique<Wrapper>(std::move(stream));
}

/// The in-memory provider with alterations. Its streams and listings may outlive it.
class AlteredProvider : public faults::BrokenProvider {
public:
    explicit AlteredProvider(const Alterations& changes) : changes_(changes) { before = changes.before; }

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    bool doFileExists(const StorageIRI& iri) const override;
    bool doFolderExists(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    foundation::storage::provider::FileAttributes doGetFileAttributes(const StorageIRI& iri) const override;
    foundation::storage::provider::FolderAttributes
    doGetFolderAttributes(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override;
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override;
    Listing doListAll(const StorageIRI& iri) const override;
    Listing doListFiles(const StorageIRI& iri) const override;
    Listing doListFolders(const StorageIRI& iri) const override;
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override;
    void doSetWritable(const StorageIRI& iri, bool writable) const override;

protected:
    /// The location as it is stored.
    StorageIRI kept(const StorageIRI& given) const;

private:
    template <class Action, class... Iris>
    auto at(const Action& action, const Iris&... given) const;
    void requireName(const StorageIRI& iri, const StorageIRI& named) const;
    Listing altered(Listing listing) const;

    const Alterations changes_;
};

inline std::shared_ptr<foundation::storage::provider::IProvider> altered(const Alterations& changes) {
    return std::make_shared<AlteredProvider>(changes);
}
