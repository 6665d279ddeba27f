#pragma once

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/ExtendedFeature.h"
#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"
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

/// A file or folder of the model. Streams share the bytes of a file. A move keeps the bytes.
struct ModelEntry {
    std::shared_ptr<std::string> bytes; ///< null for a folder
    ModelTime lastModified;
    bool writable = true;

    bool isFolder() const { return bytes == nullptr; }
};

/// A failure: the error code, and which location the exception names.
struct Failure {
    enum class Names { Source, Destination };

    provider::ErrorCode code{};
    Names names = Names::Source;
};

/// Result of an operation without a return value.
using Done = std::monostate;

template <class Value>
using Result = std::variant<Value, Failure>;

/// The behaviour that a host can expect of the in-memory provider, as simple as possible: a flat table of
/// entries by path, with linear searches wherever they are simplest.
///
/// The tree is defined by the paths alone: the parent of an entry is at `parentOf` its path. Invariant
/// between calls: every entry but the root has a parent in the table.
class ReferenceModel {
public:
    using StorageIRI = provider::StorageIRI;
    using FolderEntry = provider::FolderEntry;
    using ReplacementPolicy = provider::ReplacementPolicy;
    using ByteStreamOpenOptions = provider::ByteStreamOpenOptions;
    using ExtendedFeature = provider::ExtendedFeature;
    using Entries = std::map<std::u16string, ModelEntry>;

    /// Contains only the root, stamped and writable.
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

    /// The whole tree, including the root.
    const Entries& entries() const { return entries_; }

    /// The listing of the folder at `path`.
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
