#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"
#include "hostapi/storage/provider/WildcardPattern.h"
#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <algorithm>
#include <array>
#include <map>
#include <new>
#include <stdexcept>

namespace faults {

using namespace foundation::storage::provider;

namespace derived_operation_faults {
namespace {

using Names = std::vector<std::u16string>;
using Policy = ReplacementPolicy;

/// A listing of given entries.
class EntryListing : public IClonableFolderEntryIterator<EntryListing> {
public:
    explicit EntryListing(std::vector<FolderEntry> entries) : entries_(std::move(entries)) {}

    FolderEntry getEntry() const override { return entries_[next_ - 1]; }
    bool hasNext() const override { return next_ < entries_.size(); }
    void step() override { ++next_; }

protected:
    const std::vector<FolderEntry>& entries() const { return entries_; }

private:
    std::vector<FolderEntry> entries_;
    std::size_t next_ = 0;
};

/// A listing with clones that start again at the beginning.
class RestartingListing final : public EntryListing {
public:
    using EntryListing::EntryListing;
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<RestartingListing>(entries());
    }
};

std::vector<FolderEntry> entriesOf(std::unique_ptr<IFolderEntryIterator> listing) {
    std::vector<FolderEntry> entries;
    while (listing->hasNext()) {
        listing->step();
        entries.push_back(listing->getEntry());
    }
    return entries;
}

std::u16string withoutQuestionMarks(std::u16string pattern) {
    std::replace(pattern.begin(), pattern.end(), u'?', u'*');
    return pattern;
}

/// Creates only the folder itself.
struct MakingOneFolder : BrokenProvider {
    void doCreateFolderRecursive(const StorageIRI& iri) const override { doCreateFolder(iri); }
};

/// Throws AlreadyExists for an existing folder.
struct ExistingFolderInTheWay : BrokenProvider {
    void doCreateFolderRecursive(const StorageIRI& iri) const override {
        if (doFolderExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        BrokenProvider::doCreateFolderRecursive(iri);
    }
};

/// Names the last folder in failures to create folders.
template <ErrorCode code>
struct NamingTheLastFolder : BrokenProvider {
    void doCreateFolderRecursive(const StorageIRI& iri) const override {
        naming(code, iri, [&] { BrokenProvider::doCreateFolderRecursive(iri); });
    }
};

/// Also removes a sibling with the name of the removed folder as a prefix of its name.
struct RemovingByPrefix : BrokenProvider {
    void doRemoveFolderRecursively(const StorageIRI& iri) const override {
        BrokenProvider::doRemoveFolderRecursively(iri);
        if (const StorageIRI sibling(iri.getPath() + u"0"); doFileExists(sibling)) {
            doRemoveFile(sibling);
        }
    }
};

/// Ignores the removal of a missing folder.
struct MissingIsRemoved : BrokenProvider {
    void doRemoveFolderRecursively(const StorageIRI& iri) const override {
        if (doFolderExists(iri)) {
            BrokenProvider::doRemoveFolderRecursively(iri);
        }
    }
};

/// Names the tree in failures to remove a part of it.
struct NamingTheTree : BrokenProvider {
    void doRemoveFolderRecursively(const StorageIRI& iri) const override {
        naming(ErrorCode::ReadOnly, iri, [&] { BrokenProvider::doRemoveFolderRecursively(iri); });
    }
};

/// Removes the root like any folder, which fails.
struct RemovingTheRoot : BrokenProvider {
    void doRemoveFolderRecursively(const StorageIRI& iri) const override {
        BrokenProvider::doRemoveFolderRecursively(iri);
        if (!iri.hasParent()) {
            doRemoveFolder(iri);
        }
    }
};

/// Treats "?" as "*" in listings of entries.
struct QuestionMarkIsAnyRun : BrokenProvider {
    Listing doListAllWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        return BrokenProvider::doListAllWildcards(iri, withoutQuestionMarks(std::move(pattern)));
    }
};

/// Treats "?" as "*" in listings of names.
struct QuestionMarkIsAnyRunInNames : BrokenProvider {
    Names doListFilesNamesOnlyWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        return BrokenProvider::doListFilesNamesOnlyWildcards(iri, withoutQuestionMarks(std::move(pattern)));
    }
};

/// Appends "/" to the names of folders.
struct FolderNamesMarked : BrokenProvider {
    Names doListFoldersNamesOnly(const StorageIRI& iri) const override {
        Names names = BrokenProvider::doListFoldersNamesOnly(iri);
        for (std::u16string& name : names) {
            name += u'/';
        }
        return names;
    }
};

/// Stops a recursive listing at the first level.
struct ListingOneLevel : BrokenProvider {
    Listing doListAllRecursive(const StorageIRI& iri) const override { return doListAll(iri); }
};

/// Lists the content of folders before the folders.
struct ListingFromBelow : BrokenProvider {
    Listing doListAllRecursive(const StorageIRI& iri) const override {
        auto entries = entriesOf(BrokenProvider::doListAllRecursive(iri));
        std::reverse(entries.begin(), entries.end());
        return std::make_unique<EntryListing>(std::move(entries));
    }
};

/// Does not descend into folders that do not match the pattern.
struct PatternKeepsOut : BrokenProvider {
    Listing doListAllRecursiveWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        auto entries = entriesOf(BrokenProvider::doListAllRecursiveWildcards(iri, pattern));
        const WildcardPattern entered(pattern);
        std::erase_if(entries, [&](const FolderEntry& entry) {
            const std::size_t end = entry.getName().find(u'/');
            return end != std::u16string::npos && !entered.matches(entry.getName().substr(0, end));
        });
        return std::make_unique<EntryListing>(std::move(entries));
    }
};

/// Omits the paths from a recursive list of names.
struct NamesWithoutPaths : BrokenProvider {
    Names doListAllRecursiveNamesOnly(const StorageIRI& iri) const override {
        Names names = BrokenProvider::doListAllRecursiveNamesOnly(iri);
        for (std::u16string& name : names) {
            name.erase(0, name.rfind(u'/') + 1);
        }
        return names;
    }
};

/// Returns an empty list for a missing folder.
struct MissingIsEmpty : BrokenProvider {
    Names doListAllNamesOnly(const StorageIRI& iri) const override {
        return doFolderExists(iri) ? BrokenProvider::doListAllNamesOnly(iri) : Names();
    }
};

/// Starts the clone of a listing again at the beginning.
struct CloneBeginsAnew : BrokenProvider {
    Listing doListFilesWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        return std::make_unique<RestartingListing>(
            entriesOf(BrokenProvider::doListFilesWildcards(iri, std::move(pattern))));
    }
};

/// Makes a copy share the bytes of its source.
class CopyingByLinking final : public BrokenProvider {
public:
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(source, destination, policy);
        sources_.insert_or_assign(destination.getPath(), source);
    }
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return sound().doOpenStream(linked(iri), options);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return sound().doOpenReadOnlyStream(linked(iri));
    }

private:
    const StorageIRI& linked(const StorageIRI& iri) const {
        const auto found = sources_.find(iri.getPath());
        return found == sources_.end() ? iri : found->second;
    }

    mutable std::map<std::u16string, StorageIRI> sources_;
};

/// Copies only the first block.
struct CopyingOneBlock : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(source, destination, policy);
        if (doGetFileAttributes(destination).getSize() > 65536) {
            doTruncateToSize(destination, 65536);
        }
    }
};

/// Copies the writable flag of the source.
struct CopyingTheFlag : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(source, destination, policy);
        doSetWritable(destination, doGetFileAttributes(source).isWritable());
    }
};

/// Names the destination in failures of a copy.
template <ErrorCode code>
struct CopyNamesDestination : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        naming(code, destination, [&] { BrokenProvider::doCopyFile(source, destination, policy); });
    }
};

/// Ignores the policy of a copy.
struct CopyIgnoresPolicy : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& /*policy*/) const override {
        BrokenProvider::doCopyFile(source, destination, Policy::ReplaceExisting);
    }
};

/// Copies into an existing folder at the destination.
struct CopyIntoFolder : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(
            source, doFolderExists(destination) ? below(destination, u"copy") : destination, policy);
    }
};

/// Empties the destination first, even if it is the source.
struct CopyEmptiesFirst : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        if (policy == Policy::ReplaceExisting && doFileExists(destination)) {
            doOpenStream(destination, {.content = ByteStreamContent::Empty});
        }
        BrokenProvider::doCopyFile(source, destination, policy);
    }
};

/// Throws AlreadyExists if the source is a folder.
struct CopyingFolderExists : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        if (doFolderExists(source)) {
            throw Exception(ErrorCode::AlreadyExists, source);
        }
        BrokenProvider::doCopyFile(source, destination, policy);
    }
};

/// Reports the progress block by block.
struct ProgressByBlocks : BrokenProvider {
    void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination, const Policy& policy,
                          CopyProgress progress) const override {
        unsigned long long reported = 0;
        BrokenProvider::doCopyFileAtomic(source, destination, policy, [&](unsigned long long copied) {
            progress(copied - reported);
            reported = copied;
        });
    }
};

/// Stamps a copy one minute early.
struct CopyAMinuteEarly : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(source, destination, policy);
        const auto time = doGetFileAttributes(destination).getLastModified();
        doSetLastModified(destination, time - boost::posix_time::minutes(1));
    }
};

/// Copies onto an empty read-only file.
struct CopyIgnoresFlagOfEmpty : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        const auto copy = [&] { BrokenProvider::doCopyFile(source, destination, policy); };
        doFileExists(destination) && doGetFileAttributes(destination).getSize() == 0
            ? ignoringFlag(*this, destination, copy)
            : copy();
    }
};

/// Leaves an empty destination when a copy is cancelled.
struct EndedCopyEmpties : BrokenProvider {
    void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination, const Policy& policy,
                          CopyProgress progress) const override {
        try {
            BrokenProvider::doCopyFileAtomic(source, destination, policy, std::move(progress));
        } catch (...) {
            doOpenStream(destination, {.content = ByteStreamContent::Empty});
            throw;
        }
    }
};

/// Treats a std::logic_error of the progress function as a cancellation, and succeeds.
struct EndedCopySucceeds : BrokenProvider {
    void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination, const Policy& policy,
                          CopyProgress progress) const override {
        try {
            BrokenProvider::doCopyFileAtomic(source, destination, policy, std::move(progress));
        } catch (const std::logic_error&) { // ended
        }
    }
};

/// Reports only files as existing.
struct OnlyFilesExist : BrokenProvider {
    bool doExists(const StorageIRI& iri) const override { return doFileExists(iri); }
};

/// Reports the number of entries as the size of a folder.
struct FolderHasSize : BrokenProvider {
    ExtendedAttributes doGetExtendedAttributes(const StorageIRI& iri) const override {
        ExtendedAttributes attributes = BrokenProvider::doGetExtendedAttributes(iri);
        if (attributes.type == FolderEntry::EntryType::Folder) {
            attributes.size = doListAllNamesOnly(iri).size();
        }
        return attributes;
    }
};

/// Truncates only to smaller sizes.
struct TruncatingOnlyShortens : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        BrokenProvider::doTruncateToSize(
            iri, std::min<unsigned long long>(size, doGetFileAttributes(iri).getSize()));
    }
};

/// Replaces a truncated file by a new one.
struct TruncatingByCopying : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        BrokenProvider::doCopyFile(iri, iri, Policy::ReplaceExisting);
        BrokenProvider::doTruncateToSize(iri, size);
    }
};

/// Creates a missing file instead of failing to truncate it.
struct TruncatingCreates : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        doOpenStream(iri, {});
        BrokenProvider::doTruncateToSize(iri, size);
    }
};

/// Ignores the writable flag in truncations.
struct TruncatingIgnoresFlag : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        ignoringFlag(*this, iri, [&] { BrokenProvider::doTruncateToSize(iri, size); });
    }
};

/// Does nothing if a file has the size already, not even check its flag.
struct TruncatingToTheSameSize : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        if (!doFileExists(iri) || doGetFileAttributes(iri).getSize() != size) {
            BrokenProvider::doTruncateToSize(iri, size);
        }
    }
};

/// Reports an invalid size as out of memory.
struct TruncatingRunsOutOfMemory : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        try {
            BrokenProvider::doTruncateToSize(iri, size);
        } catch (const std::length_error&) {
            throw std::bad_alloc();
        }
    }
};

/// Names the second location in NotOffered.
struct NamingTheScratchLocation : BrokenProvider {
    std::unique_ptr<ByteStream>
    doOpenTransactionalStreamAtScratchLocation(const StorageIRI& /*iri*/, const StorageIRI& scratch,
                                               const OpenOptions& /*options*/) const override {
        throw Exception(ErrorCode::NotOffered, scratch);
    }
};

/// Accepts event subscriptions but never sends events.
struct SilentEvents : BrokenProvider {
    void doPublishFileEventsFor(const StorageIRI& /*iri*/, EventCallback /*callback*/) const override {}
};

/// Reports more free space than capacity.
struct MoreRoomThanCapacity : BrokenProvider {
    ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI& /*iri*/) const override {
        return {.capacity = 1000, .available = 1001};
    }
};

/// Orders a path before itself.
struct PathBeforeItself : BrokenProvider {
    PathComparator doGetPathComparator(const StorageIRI& /*iri*/) const override {
        return [](std::u16string_view first, std::u16string_view second) { return first <= second; };
    }
};

/// Orders paths by code point, so surrogate pairs come last.
struct OrderByCharacters : BrokenProvider {
    PathComparator doGetPathComparator(const StorageIRI& /*iri*/) const override {
        return [](std::u16string_view first, std::u16string_view second) {
            const auto rank = [](char16_t unit) {
                return unit >= 0xD800 && unit <= 0xDFFF ? 0x10000 + unit : unit;
            };
            return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end(),
                                                [&](char16_t a, char16_t b) { return rank(a) < rank(b); });
        };
    }
};

/// Makes the canonical location one level deeper each time.
struct CanonicalBelow : BrokenProvider {
    StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const override { return below(iri, u"."); }
};

/// Drops blanks at the end of the canonical location.
struct CanonicalWithoutLastBlank : BrokenProvider {
    StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const override {
        const std::u16string path = BrokenProvider::doGetCanonicalLocation(iri).getPath();
        return StorageIRI(path.substr(0, path.find_last_not_of(u' ') + 1));
    }
};

/// Uses the given path instead of the resolved one as the canonical location.
struct CanonicalByGivenPath : BrokenProvider {
    StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const override {
        return StorageIRI(iri.getPath());
    }
};

/// Lists only the folders of the root recursively, with their content.
struct RootWithoutFiles : BrokenProvider {
    Listing doListAllRecursive(const StorageIRI& iri) const override {
        std::vector<FolderEntry> entries = entriesOf(BrokenProvider::doListAllRecursive(iri));
        const auto isFileOfRoot = [&](const FolderEntry& entry) {
            return iri.getPath() == u"/" && entry.getType() == FolderEntry::EntryType::File &&
                   entry.getName().find(u'/') == std::u16string::npos;
        };
        entries.erase(std::remove_if(entries.begin(), entries.end(), isFileOfRoot), entries.end());
        return std::make_unique<EntryListing>(entries);
    }
};

/// Reports shutdown as not offered.
struct NoShutdown : BrokenProvider {
    void doShutdown() override { throw Exception(ErrorCode::NotOffered, StorageIRI(u"/")); }
};

constexpr std::array table{
    Fault{"MakingOneFolder", "12.1", build<MakingOneFolder>},
    Fault{"ExistingFolderInTheWay", "12.2", build<ExistingFolderInTheWay>},
    Fault{"FileInTheWayNotNamed", "12.3", build<NamingTheLastFolder<ErrorCode::AlreadyExists>>},
    Fault{"FolderNotMadeNotNamed", "12.4", build<NamingTheLastFolder<ErrorCode::ReadOnly>>},
    Fault{"RemovingByPrefix", "12.5", build<RemovingByPrefix>},
    Fault{"MissingIsRemoved", "12.6", build<MissingIsRemoved>},
    Fault{"NamingTheTree", "12.7", build<NamingTheTree>},
    Fault{"RemovingTheRoot", "12.8", build<RemovingTheRoot>},
    Fault{"QuestionMarkIsAnyRun", "12.9", build<QuestionMarkIsAnyRun>},
    Fault{"QuestionMarkIsAnyRunInNames", "12.10", build<QuestionMarkIsAnyRunInNames>},
    Fault{"FolderNamesMarked", "12.11", build<FolderNamesMarked>},
    Fault{"ListingOneLevel", "12.12", build<ListingOneLevel>},
    Fault{"ListingFromBelow", "12.13", build<ListingFromBelow>},
    Fault{"PatternKeepsOut", "12.14", build<PatternKeepsOut>},
    Fault{"NamesWithoutPaths", "12.15", build<NamesWithoutPaths>},
    Fault{"MissingIsEmpty", "12.16", build<MissingIsEmpty>},
    Fault{"CloneBeginsAnew", "12.17", build<CloneBeginsAnew>},
    Fault{"CopyingByLinking", "12.18", build<CopyingByLinking>},
    Fault{"CopyingOneBlock", "12.19", build<CopyingOneBlock>},
    Fault{"CopyingTheFlag", "12.20", build<CopyingTheFlag>},
    Fault{"CopyAMinuteEarly", "12.20", build<CopyAMinuteEarly>},
    Fault{"MissingCopyNamesDestination", "12.21", build<CopyNamesDestination<ErrorCode::NotFound>>},
    Fault{"CopyIgnoresPolicy", "12.22", build<CopyIgnoresPolicy>},
    Fault{"CopyIntoFolder", "12.23", build<CopyIntoFolder>},
    Fault{"CopyEmptiesFirst", "12.24", build<CopyEmptiesFirst>},
    Fault{"ReadOnlyCopyNamesDestination", "12.25", build<CopyNamesDestination<ErrorCode::ReadOnly>>},
    Fault{"CopyIgnoresFlagOfEmpty", "12.25", build<CopyIgnoresFlagOfEmpty>},
    Fault{"CopyingFolderExists", "12.26", build<CopyingFolderExists>},
    Fault{"ProgressByBlocks", "12.27", build<ProgressByBlocks>},
    Fault{"EndedCopyEmpties", "12.28", build<EndedCopyEmpties>},
    Fault{"EndedCopySucceeds", "12.28", build<EndedCopySucceeds>},
    Fault{"OnlyFilesExist", "12.29", build<OnlyFilesExist>},
    Fault{"FolderHasSize", "12.30", build<FolderHasSize>},
    Fault{"TruncatingOnlyShortens", "12.31", build<TruncatingOnlyShortens>},
    Fault{"TruncatingByCopying", "12.32", build<TruncatingByCopying>},
    Fault{"TruncatingCreates", "12.33", build<TruncatingCreates>},
    Fault{"TruncatingIgnoresFlag", "12.34", build<TruncatingIgnoresFlag>},
    Fault{"TruncatingToTheSameSize", "12.34", build<TruncatingToTheSameSize>},
    Fault{"TruncatingRunsOutOfMemory", "12.35", build<TruncatingRunsOutOfMemory>},
    Fault{"NamingTheScratchLocation", "12.36", build<NamingTheScratchLocation>},
    Fault{"SilentEvents", "12.37", build<SilentEvents>},
    Fault{"MoreRoomThanCapacity", "12.38", build<MoreRoomThanCapacity>},
    Fault{"PathBeforeItself", "12.39", build<PathBeforeItself>},
    Fault{"OrderByCharacters", "12.40", build<OrderByCharacters>},
    Fault{"CanonicalBelow", "12.41", build<CanonicalBelow>},
    Fault{"CanonicalWithoutLastBlank", "12.41", build<CanonicalWithoutLastBlank>},
    Fault{"CanonicalByGivenPath", "12.42", build<CanonicalByGivenPath>},
    Fault{"NoShutdown", "12.43", build<NoShutdown>},
    Fault{"RootWithoutFiles", "12.44", build<RootWithoutFiles>},
};

} // namespace
} // namespace derived_operation_faults

std::span<const Fault> derivedOperations() {
    return derived_operation_faults::table;
}

} // namespace faults
