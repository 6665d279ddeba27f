#pragma once

#include "tests/host/validate/variants/AlteredProvider.h"

#include <map>
#include <mutex>

/// Treats names as equal if `fold` maps them to the same name. Listings return the name with which an entry
/// was created.
///
/// Owns these names. `mutex_` guards them and is held during every change of the storage. Listings and
/// streams may outlive it.
class CaseInsensitiveProvider final : public AlteredProvider {
public:
    using Fold = std::u16string (*)(std::u16string name);

    explicit CaseInsensitiveProvider(Fold fold) : AlteredProvider({.name = fold}), fold_(fold) {}

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override;
    Listing doListAll(const StorageIRI& iri) const override;
    Listing doListFiles(const StorageIRI& iri) const override;
    Listing doListFolders(const StorageIRI& iri) const override;
    PathComparator doGetPathComparator(const StorageIRI& iri) const override;
    foundation::storage::provider::FilenameSensitivity
    doGetFilenameSensitivity(const StorageIRI& iri) const override;

private:
    std::unique_lock<std::mutex> inTurn() const;
    void noteName(const StorageIRI& iri) const;
    void forgetName(const StorageIRI& iri) const;
    Listing named(const StorageIRI& folder, Listing listing) const;

    const Fold fold_;
    mutable std::mutex turn_; ///< held while a thread waits for `mutex_`
    mutable std::mutex mutex_;
    mutable std::map<std::u16string, std::u16string> names_; ///< by the folded path
};
