#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/ExtendedFeature.h"
#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/StorageIRI.h"
#include "tests/model/ModelStream.h"
#include "tests/model/ModelTime.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace storage::inmemoryprovider::tests {

enum class ListingKind { All, Files, Folders };

/// A file or folder of the model. A file has bytes, which streams share with it and which move along with it.
struct ModelEntry {
    std::shared_ptr<std::string> bytes; ///< null for a folder
    ModelTime lastModified;
    bool writable = true;

    bool isFolder() const { return bytes == nullptr; }
};

/// How an operation fails: the code, and which of its locations the exception names.
struct Failure {
    enum class Names { Source, Destination };

    foundation::storage::provider::ErrorCode code{};
    Names names = Names::Source;
};

/// The value of an operation that has nothing to tell.
using Done = std::monostate;

template <class Value>
using Result = std::variant<Value, Failure>;

/// What a host may expect of the in-memory provider, operation by operation, written down as plainly as
/// possible: one flat table of entries by path, searched from end to end wherever that is simplest.
///
/// An entry belongs to the folder that `parentOf` its path names; this alone makes the tree. Between calls
/// every entry but the root belongs to a folder in the table.
class ReferenceModel {
public:
    using StorageIRI = foundation::storage::provider::StorageIRI;
    using FolderEntry = foundation::storage::provider::FolderEntry;
    using ReplacementPolicy = foundation::storage::provider::ReplacementPolicy;
    using ByteStreamOpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using ExtendedFeature = foundation::storage::provider::ExtendedFeature;
    using Entries = std::map<std::u16string, ModelEntry>;

    /// Holds the root alone, stamped and writable.
    ReferenceModel();

    Result<Done> createFile(const StorageIRI& iri);
    Result<Done> createFolder(const StorageIRI& iri);
    Result<Done> removeFile(const StorageIRI& iri);
    Result<Done> removeFolder(const StorageIRI& iri);
    Result<bool> fileExists(const StorageIRI& iri) const;
    Result<bool> folderExists(const StorageIRI& iri) const;
    Result<ModelEntry> fileAttributes(const StorageIRI& iri) const;
    Result<ModelEntry> folderAttributes(const StorageIRI& iri) const;
    Result<Done> setLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time);
    Result<Done> setWritable(const StorageIRI& iri, bool writable);
    Result<ModelStream> openStream(const StorageIRI& iri, const ByteStreamOpenOptions& options);
    Result<ModelStream> openReadOnlyStream(const StorageIRI& iri) const;
    Result<std::vector<FolderEntry>> list(const StorageIRI& iri, ListingKind kind) const;
    Result<Done> moveFile(const StorageIRI& source, const StorageIRI& destination, ReplacementPolicy policy);
    Result<Done> moveFolder(const StorageIRI& source, const StorageIRI& destination,
                            ReplacementPolicy policy);
    static bool hasFeature(ExtendedFeature feature);

    /// The whole tree, the root included.
    const Entries& entries() const { return entries_; }

    /// What the folder at `path` lists.
    std::vector<FolderEntry> listingOf(std::u16string_view path, ListingKind kind) const;

private:
    bool isFolder(const std::u16string& path) const;
    const ModelEntry* find(const std::u16string& path) const;
    const ModelEntry* findFile(const std::u16string& path) const;
    const ModelEntry* findFolder(const std::u16string& path) const;
    bool isWritable(const std::u16string& path) const;
    std::vector<std::u16string> childrenOf(std::u16string_view path) const;

    Stamp readClock();
    void stamp(const std::u16string& path, Stamp now);

    Result<Done> relinkFile(const std::u16string& from, const std::u16string& to, Stamp now);
    Result<Done> relinkFolder(const std::u16string& from, const std::u16string& to, Stamp now);
    Result<Done> relinkChild(const std::u16string& from, const std::u16string& to, Stamp now);

    Entries entries_;
    unsigned stamps_ = 0;
};

} // namespace storage::inmemoryprovider::tests
