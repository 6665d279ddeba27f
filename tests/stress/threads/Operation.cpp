#include "tests/stress/threads/Operation.h"

#include "hostapi/storage/provider/ProviderOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/stress/threads/AnswerChecks.h"
#include "tests/stress/threads/PathUniverse.h"
#include "tests/support/OperationProbe.h"
#include "tests/support/Record.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace storage::stress {

using namespace provider;

using tests::Record;

namespace {

using enum ErrorCode;
using enum ListingShape::Depth;
using Kinds = ListingShape::Kinds;
using Named = AllowedFailure::Named;
using Failures = std::vector<AllowedFailure>;

const Failures never;
const Failures whenMissing{{NotFound}};
const Failures asCreation{{NotFound}, {AlreadyExists}, {ReadOnly}};
const Failures asCreationOfAll{{NotFound, Named::SourceOrAbove},
                               {AlreadyExists, Named::SourceOrAbove},
                               {ReadOnly, Named::SourceOrAbove}};
const Failures asRemovalOfFile{{NotFound}, {ReadOnly}};
const Failures asRemovalOfFolder{{NotFound}, {ReadOnly}, {FolderNotEmpty}};
const Failures asRemovalOfAll{
    {NotFound}, {ReadOnly, Named::SourceOrBelow}, {FolderNotEmpty, Named::SourceOrBelow}};
const Failures asMove{{NotFound}, {AlreadyExists, Named::Destination}, {ReadOnly}};
const Failures asCopy{
    {NotFound}, {NotFound, Named::TemporaryFile}, {AlreadyExists, Named::Destination}, {ReadOnly}};
const Failures always{{NotOffered}};

const std::u16string& pathOf(const StorageIRI& iri) {
    return iri.getResolvedPath();
}

std::u16string anyPattern(Random& random) {
    static const std::array<std::u16string, 4> patterns{u"*", u"?0", u"*1", u"[ab]*"};
    return patterns[pick(random, patterns.size())];
}

template <auto operation>
void callAtSource(Attempt& a) {
    (a.provider.*operation)(a.source);
}

template <auto operation>
void callFromSourceToDestination(Attempt& a) {
    (a.provider.*operation)(a.source, a.destination, a.policy);
}

void check(Attempt& a, const ListingShape& shape, const Names& names) {
    checkNames(pathOf(a.source), shape, names);
}

void check(Attempt& a, const ListingShape& shape, std::unique_ptr<IFolderEntryIterator> listing) {
    a.holdings.add(OpenListing(std::move(listing), pathOf(a.source), shape), a.random);
}

template <auto operation, Kinds kinds, ListingShape::Depth depth>
void callListing(Attempt& a) {
    if constexpr (std::is_invocable_v<decltype(operation), const IProvider&, const StorageIRI&>) {
        check(a, {kinds, depth}, (a.provider.*operation)(a.source));
    } else {
        const ListingShape shape{kinds, depth, anyPattern(a.random)};
        check(a, shape, (a.provider.*operation)(a.source, shape.pattern));
    }
}

void openForWriting(Attempt& a) {
    const ByteStreamOpenOptions options{0, static_cast<ByteStreamExistence>(pick(a.random, 2)),
                                        static_cast<ByteStreamContent>(pick(a.random, 3)),
                                        static_cast<ByteStreamAppend>(pick(a.random, 2))};
    const auto access =
        options.append == ByteStreamAppend::AppendAtEnd ? OpenFile::Access::Append : OpenFile::Access::Write;
    OpenFile file(a.provider.doOpenStream(a.source, options), access);
    file.use(a.random);
    a.holdings.add(std::move(file), a.random);
}

void moveFolder(Attempt& a) {
    a.destination = StorageIRI(anyTargetForFolder(pathOf(a.source), a.random));
    a.provider.doMoveFolder(a.source, a.destination, a.policy);
}

struct CopyStopped {};

void copyWithProgress(Attempt& a) {
    std::optional<unsigned long long> copied;
    const bool stop = onceIn(4, a.random);
    const auto progress = [&](unsigned long long count) {
        requireThat(copied < count && count % Record::size == 0, "a copy reports invalid progress");
        copied = count;
        if (stop) {
            throw CopyStopped();
        }
    };
    try {
        a.provider.doCopyFileAtomic(a.source, a.destination, a.policy, progress);
    } catch (const CopyStopped&) {
        requireThat(stop, "a copy throws an exception that its callback did not throw");
    }
}

void truncate(Attempt& a) {
    if (!onceIn(8, a.random)) {
        a.provider.doTruncateToSize(a.source, pick(a.random, 9) * Record::size);
        return;
    }
    try {
        a.provider.doTruncateToSize(a.source, std::numeric_limits<unsigned long long>::max());
    } catch (const std::length_error&) {
        return;
    }
    throw Violation("a file accepted more bytes than the maximum");
}

void setWritable(Attempt& a) {
    // Mostly writable, otherwise everything would soon be read-only.
    a.provider.doSetWritable(a.source, !onceIn(a.source.hasParent() ? 8 : 32, a.random));
}

void getExtendedAttributes(Attempt& a) {
    const auto attributes = a.provider.doGetExtendedAttributes(a.source);
    checkSize(attributes.size);
    checkTime(attributes.lastModified);
    requireThat(attributes.type == FolderEntry::EntryType::File || attributes.size == 0,
                "a folder has a size");
}

void checkComparator(Attempt& a) {
    const auto before = a.provider.doGetPathComparator(a.source);
    const auto& left = pathOf(a.source);
    const auto& right = pathOf(a.destination);
    requireThat(before(left, right) == (left < right), "wrong order of paths");
}

void checkExistence(Attempt& a) {
    const auto existence = a.provider.doExistsExtended(a.source);
    requireThat(existence == EntryExistence::Missing || existence == EntryExistence::File ||
                    existence == EntryExistence::Folder,
                "an unknown kind of entry");
}

std::vector<Operation> changes() {
    return {
        {"doCreateFile", 12, asCreation, callAtSource<&IProvider::doCreateFile>},
        {"doCreateFolder", 24, asCreation, callAtSource<&IProvider::doCreateFolder>},
        {"doCreateFolderRecursive", 8, asCreationOfAll, callAtSource<&IProvider::doCreateFolderRecursive>},
        {"doRemoveFile", 4, asRemovalOfFile, callAtSource<&IProvider::doRemoveFile>},
        {"doMoveFile", 10, asMove, callFromSourceToDestination<&IProvider::doMoveFile>},
        {"doRemoveFolder", 4, asRemovalOfFolder, callAtSource<&IProvider::doRemoveFolder>},
        {"doRemoveFolderRecursively", 1, asRemovalOfAll, callAtSource<&IProvider::doRemoveFolderRecursively>},
        {"doMoveFolder", 14, asMove, moveFolder},
        {"doOpenStream", 12, asCreation, openForWriting},
        {"doCopyFile", 3, asCopy, callFromSourceToDestination<&IProvider::doCopyFile>},
        {"doCopyFileAtomic", 3, asCopy, copyWithProgress},
        {"doSetLastModified", 3, whenMissing,
         [](Attempt& a) {
             const auto year = static_cast<unsigned>(1970 + pick(a.random, 20));
             a.provider.doSetLastModified(a.source, recognisableTime(year));
         }},
        {"doSetWritable", 6, whenMissing, setWritable},
        {"doTruncateToSize", 3, asCreation, truncate},
    };
}

std::vector<Operation> queries() {
    return {
        {"doFileExists", 4, never, callAtSource<&IProvider::doFileExists>},
        {"doFolderExists", 4, never,
         [](Attempt& a) {
             requireThat(a.provider.doFolderExists(a.source) || a.source.hasParent(), "the root is missing");
         }},
        {"doGetFileAttributes", 5, whenMissing,
         [](Attempt& a) {
             const auto attributes = a.provider.doGetFileAttributes(a.source);
             checkSize(attributes.getSize());
             checkTime(attributes.getLastModified());
         }},
        {"doGetFolderAttributes", 4, whenMissing,
         [](Attempt& a) { checkTime(a.provider.doGetFolderAttributes(a.source).getLastModified()); }},
        {"doOpenReadOnlyStream", 6, whenMissing,
         [](Attempt& a) {
             OpenFile file(a.provider.doOpenReadOnlyStream(a.source), OpenFile::Access::Read);
             file.readThrough();
             a.holdings.add(std::move(file), a.random);
         }},
        {"doHasFeature", 1, never,
         [](Attempt& a) {
             const auto number = static_cast<std::int32_t>(pick(a.random, 12));
             requireThat(a.provider.doHasFeature(static_cast<ExtendedFeature>(number)) == (number == 6),
                         "wrong answer about a feature");
         }},
        {"doGetPathComparator", 1, never, checkComparator},
        {"doGetCanonicalLocation", 1, never,
         [](Attempt& a) {
             requireThat(a.provider.doGetCanonicalLocation(a.source) == a.source, "wrong canonical location");
         }},
        {"doGetFilenameSensitivity", 1, never,
         [](Attempt& a) {
             requireThat(a.provider.doGetFilenameSensitivity(a.source) == FilenameSensitivity::CaseSensitive,
                         "names are not case-sensitive");
         }},
        {"doExists", 3, never,
         [](Attempt& a) {
             requireThat(a.provider.doExists(a.source) || a.source.hasParent(), "the root is missing");
         }},
        {"doExistsExtended", 3, never, checkExistence},
        {"doGetExtendedAttributes", 3, whenMissing, getExtendedAttributes},
    };
}

std::vector<Operation> listings() {
    return {
        {"doListAll", 5, whenMissing, callListing<&IProvider::doListAll, Kinds::All, OneFolder>},
        {"doListAllWildcards", 2, whenMissing,
         callListing<&IProvider::doListAllWildcards, Kinds::All, OneFolder>},
        {"doListFiles", 3, whenMissing, callListing<&IProvider::doListFiles, Kinds::Files, OneFolder>},
        {"doListFilesWildcards", 2, whenMissing,
         callListing<&IProvider::doListFilesWildcards, Kinds::Files, OneFolder>},
        {"doListFolders", 3, whenMissing, callListing<&IProvider::doListFolders, Kinds::Folders, OneFolder>},
        {"doListFoldersWildcards", 2, whenMissing,
         callListing<&IProvider::doListFoldersWildcards, Kinds::Folders, OneFolder>},
        {"doListAllRecursive", 1, whenMissing,
         callListing<&IProvider::doListAllRecursive, Kinds::All, Recursive>},
        {"doListAllRecursiveWildcards", 1, whenMissing,
         callListing<&IProvider::doListAllRecursiveWildcards, Kinds::All, Recursive>},
        {"doListAllNamesOnly", 2, whenMissing,
         callListing<&IProvider::doListAllNamesOnly, Kinds::All, OneFolder>},
        {"doListAllNamesOnlyWildcards", 2, whenMissing,
         callListing<&IProvider::doListAllNamesOnlyWildcards, Kinds::All, OneFolder>},
        {"doListFoldersNamesOnly", 2, whenMissing,
         callListing<&IProvider::doListFoldersNamesOnly, Kinds::Folders, OneFolder>},
        {"doListFoldersNamesOnlyWildcards", 2, whenMissing,
         callListing<&IProvider::doListFoldersNamesOnlyWildcards, Kinds::Folders, OneFolder>},
        {"doListFilesNamesOnly", 2, whenMissing,
         callListing<&IProvider::doListFilesNamesOnly, Kinds::Files, OneFolder>},
        {"doListFilesNamesOnlyWildcards", 2, whenMissing,
         callListing<&IProvider::doListFilesNamesOnlyWildcards, Kinds::Files, OneFolder>},
        {"doListAllRecursiveNamesOnly", 1, whenMissing,
         callListing<&IProvider::doListAllRecursiveNamesOnly, Kinds::All, Recursive>},
        {"doListAllRecursiveNamesOnlyWildcards", 1, whenMissing,
         callListing<&IProvider::doListAllRecursiveNamesOnlyWildcards, Kinds::All, Recursive>},
    };
}

std::vector<Operation> notOffered() {
    return {
        {"doOpenTransactionalStream", 1, always,
         [](Attempt& a) { a.provider.doOpenTransactionalStream(a.source, {}); }},
        {"doOpenTransactionalStreamAtScratchLocation", 1, always,
         [](Attempt& a) {
             a.provider.doOpenTransactionalStreamAtScratchLocation(a.source, a.destination, {});
         }},
        {"doPublishFolderEventsFor", 1, always,
         [](Attempt& a) { a.provider.doPublishFolderEventsFor(a.source, {}); }},
        {"doPublishFileEventsFor", 1, always,
         [](Attempt& a) { a.provider.doPublishFileEventsFor(a.source, {}); }},
        {"doStopPublishingEventsFor", 1, always, callAtSource<&IProvider::doStopPublishingEventsFor>},
        {"doStartChangePollingMechanism", 1, always,
         [](Attempt& a) { a.provider.doStartChangePollingMechanism(a.source, {}); }},
        {"doStopChangePollingMechanism", 1, always, callAtSource<&IProvider::doStopChangePollingMechanism>},
        {"doGetProviderStorageInfo", 1, always, callAtSource<&IProvider::doGetProviderStorageInfo>},
    };
}

std::vector<std::size_t> indicesByWeight() {
    std::vector<std::size_t> indices;
    for (std::size_t index = 0; index < allOperations().size(); ++index) {
        indices.insert(indices.end(), allOperations()[index].weight, index);
    }
    return indices;
}

/// The name of the provider operation that `operation` calls.
std::string_view nameOfCalled(const Operation& operation) {
    Random random(1);
    Holdings::Exchange exchange;
    Holdings holdings(exchange);
    const auto index = tests::OperationProbe::firstCalledBy([&](IProvider& provider) {
        Attempt attempt{provider, StorageIRI(u"/a"), StorageIRI(u"/b"), {}, random, holdings};
        operation.call(attempt);
    });
    return index ? providerOperations[*index].name : "no operation";
}

} // namespace

bool Operation::isOffered() const {
    return std::none_of(mayFail.begin(), mayFail.end(),
                        [](const AllowedFailure& failure) { return failure.code == NotOffered; });
}

bool Operation::allows(const Exception& failure, const Attempt& attempt) const {
    return std::any_of(mayFail.begin(), mayFail.end(),
                       [&](const AllowedFailure& allowed) { return allowed.allows(failure, attempt); });
}

const std::vector<Operation>& allOperations() {
    static const std::vector<Operation> all = [] {
        std::vector<Operation> operations;
        for (const auto& group : {changes(), queries(), listings(), notOffered()}) {
            operations.insert(operations.end(), group.begin(), group.end());
        }
        return operations;
    }();
    return all;
}

void requireWholeTable() {
    std::set<std::string_view> missing;
    for (const auto& operation : providerOperations) {
        missing.insert(operation.name);
    }
    missing.erase("doShutdown"); // must not run concurrently with other calls
    for (const Operation& operation : allOperations()) {
        requireThat(nameOfCalled(operation) == operation.name, operation.name, " calls ",
                    nameOfCalled(operation));
        requireThat(missing.erase(operation.name) == 1, operation.name, " is listed twice");
    }
    requireThat(missing.empty(), "the table lacks ", missing.empty() ? "nothing" : *missing.begin());
}

std::size_t anyOperation(Random& random) {
    static const std::vector<std::size_t> indices = indicesByWeight();
    return indices[pick(random, indices.size())];
}

} // namespace storage::stress
