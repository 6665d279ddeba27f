#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/Operation.h"
#include "tests/model/OutcomeTally.h"
#include "tests/model/ReferenceModel.h"
#include "tests/model/StampLedger.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Runs one sequence of operations on a provider and on the model. The provider's tree must be equal to the
/// model's.
class LockstepRun {
public:
    /// @param tally                 counts how each step ended
    /// @param changesPerComparison  number of changing steps between comparisons of the whole trees; the
    ///     final trees are always compared
    explicit LockstepRun(OutcomeTally& tally, std::size_t changesPerComparison = 1);

    /// @return nothing if provider and model agree; else the first difference, with all steps up to it
    std::optional<std::string> run(const std::vector<Operation>& operations);

private:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;
    using ByteStream = provider::ByteStream;
    using FileAttributes = provider::FileAttributes;
    using FolderEntry = provider::FolderEntry;
    using IFolderEntryIterator = provider::IFolderEntryIterator;

    /// Thrown at the first difference.
    struct Mismatch {
        std::string what;
    };

    struct OpenStream {
        std::unique_ptr<ByteStream> real;
        ModelStream model;
    };

    struct OpenListing {
        std::unique_ptr<IFolderEntryIterator> real;
        std::vector<FolderEntry> expected;
        std::size_t next = 0;
        std::u16string folder;
        ListingKind kind = ListingKind::All;
    };

    void step(const Operation& operation);
    void onLocation(const Operation& operation, const StorageIRI& iri);
    void onCreation(const Operation& operation, const StorageIRI& iri);
    void onRemoval(const Operation& operation, const StorageIRI& iri);
    void onExistence(const Operation& operation, const StorageIRI& iri);
    void onAttributes(const Operation& operation, const StorageIRI& iri);
    void onSetter(const Operation& operation, const StorageIRI& iri);
    void onMove(const Operation& operation, const StorageIRI& source, const StorageIRI& destination);
    void onOpen(const Operation& operation, const StorageIRI& iri);
    void onList(const Operation& operation, const StorageIRI& iri);
    void onStream(const Operation& operation);
    void onListing(const Operation& operation);

    void readStream(OpenStream& stream, long count);
    void writeStream(OpenStream& stream, long count);
    void seekStream(OpenStream& stream, long offset, std::ios_base::seekdir direction);
    void stepListing(OpenListing& listing);

    /// Calls the provider and compares the outcome with `expected`.
    /// @return the result of `call`; nothing if it failed as expected
    template <class Value, class Call>
    auto compareCall(OperationKind kind, const Result<Value>& expected, const StorageIRI& source,
                     const StorageIRI& destination, Call call) -> std::optional<std::invoke_result_t<Call>>;

    void compareTree();
    void compareFolder(const StorageIRI& iri, const ModelEntry& folder,
                       const std::vector<FolderEntry>& listing);
    void compareFile(const StorageIRI& iri, const ModelEntry& file);
    void compareFileAttributes(const FileAttributes& seen, const ModelEntry& file);
    template <class Attributes>
    void compareFlagAndTime(const Attributes& seen, const ModelEntry& entry);
    void compareExistence();
    bool canBeListed(const StorageIRI& iri) const;
    void outliveTheProvider();

    std::unique_ptr<IFolderEntryIterator> list(const StorageIRI& iri, ListingKind kind) const;
    static void require(bool agreed, const char* what);
    void noteHalfDone(OperationKind kind, const std::vector<std::u16string>& before,
                      provider::ErrorCode code);
    void note(OperationKind kind, const std::string& outcome) { tally_.count(nameOf(kind), outcome); }

    OutcomeTally& tally_;
    std::size_t changesPerComparison_;
    std::size_t changes_ = 0;
    std::shared_ptr<IProvider> provider_;
    ReferenceModel model_;
    StampLedger ledger_;
    std::vector<OpenStream> streams_;
    std::vector<OpenListing> listings_;
    std::set<std::u16string> knownPaths_; ///< every path of the pool, and every one that has had an entry
    std::vector<std::string> transcript_;
};

} // namespace storage::inmemoryprovider::tests
