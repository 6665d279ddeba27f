#include "host/validate/checks/EveryOperation.h"

#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "hostapi/storage/provider/ListingRange.h"

#include <boost/property_tree/ptree.hpp>
#include <fmt/format.h>
#include <typeinfo>

namespace storage::host::checks {

using namespace provider;

namespace every_operation {
namespace {

/// Calls an operation that may fail. Other rules check the error code.
template <class Action>
void tryTo(const Action& action) {
    try {
        action();
    } catch (const Exception& failure) {
        expect(typeid(failure) == typeid(Exception),
               fmt::format("a failure is of the class {}, not Exception", typeid(failure).name()));
    }
}

void useStreams(CheckContext& context, const IProvider& provider) {
    const StorageIRI file = context.at(u"d/s");
    const auto stream = openStream(provider, file);
    writeText(*stream, "bytes");
    seekTo(*stream, 1, std::ios_base::beg);
    seekTo(*stream, 9, std::ios_base::cur);
    seekTo(*stream, -1, std::ios_base::end);
    writeText(*openToAppend(provider, file), "more");
    expect(readRest(*stream) == "smore" && contentOf(provider, file) == "bytesmore",
           "a file has other bytes than were written");
    provider.doTruncateToSize(file, 20);
    provider.doTruncateToSize(file, 5);
    openStream(provider, file, ByteStreamOpenOptions::createOrEmpty());
    tryTo([&] { provider.doOpenTransactionalStream(file, {}); });
    tryTo([&] { provider.doOpenTransactionalStreamAtScratchLocation(file, context.at(u"d/scratch"), {}); });
    tryTo([&] { openStream(provider, context.at(u"n"), ByteStreamOpenOptions::readWriteExisting()); });
    tryTo([&] { openForReading(provider, context.at(u"d")); });
    tryTo([&] { provider.doTruncateToSize(context.at(u"n"), 1); });
}

void useListings(CheckContext& context, const IProvider& provider) {
    const StorageIRI folder = context.at(u"");
    const auto read = [](const std::unique_ptr<IFolderEntryIterator>& listing) {
        if (listing->hasNext()) {
            listing->step();
            static_cast<void>(listing->getEntry());
        }
        static_cast<void>(readEntries(listing->clone()));
    };
    for (const auto list : {&IProvider::doListAll, &IProvider::doListFiles, &IProvider::doListFolders,
                            &IProvider::doListAllRecursive}) {
        read((provider.*list)(folder));
        tryTo([&] { (provider.*list)(context.at(u"n")); });
    }
    for (const auto list : {&IProvider::doListAllWildcards, &IProvider::doListFilesWildcards,
                            &IProvider::doListFoldersWildcards, &IProvider::doListAllRecursiveWildcards}) {
        read((provider.*list)(folder, u"?*"));
        tryTo([&] { (provider.*list)(context.at(u"d/f"), u"*"); });
    }
    for (const auto list : {&IProvider::doListAllNamesOnly, &IProvider::doListFilesNamesOnly,
                            &IProvider::doListFoldersNamesOnly, &IProvider::doListAllRecursiveNamesOnly}) {
        (provider.*list)(folder);
    }
    for (const auto list :
         {&IProvider::doListAllNamesOnlyWildcards, &IProvider::doListFilesNamesOnlyWildcards,
          &IProvider::doListFoldersNamesOnlyWildcards, &IProvider::doListAllRecursiveNamesOnlyWildcards}) {
        (provider.*list)(folder, u"*");
    }
}

void useQueries(CheckContext& context, const IProvider& provider) {
    for (const StorageIRI& iri :
         {context.at(u"d/f"), context.at(u"d"), context.at(u"n"), context.at(u"n/n")}) {
        provider.doFileExists(iri);
        provider.doFolderExists(iri);
        provider.doExists(iri);
        provider.doExistsExtended(iri);
        provider.doGetCanonicalLocation(iri);
        provider.doGetFilenameSensitivity(iri);
        static_cast<void>(provider.doGetPathComparator(iri)(u"/a", u"/b"));
        tryTo([&] { provider.doGetFileAttributes(iri); });
        tryTo([&] { provider.doGetFolderAttributes(iri); });
        tryTo([&] { provider.doGetExtendedAttributes(iri); });
        tryTo([&] { provider.doGetProviderStorageInfo(iri); });
    }
    provider.doHasFeature(ExtendedFeature::VolatileStorage);
}

void useEvents(CheckContext& context, const IProvider& provider) {
    const StorageIRI folder = context.at(u"d");
    for (const auto begin : {&IProvider::doPublishFolderEventsFor, &IProvider::doPublishFileEventsFor,
                             &IProvider::doStartChangePollingMechanism}) {
        tryTo([&] { (provider.*begin)(folder, [](auto&&...) {}); });
    }
    tryTo([&] { provider.doStopPublishingEventsFor(folder); });
    tryTo([&] { provider.doStopChangePollingMechanism(folder); });
}

/// Calls operations that fail, for each cause.
void useFailures(CheckContext& context, const IProvider& provider) {
    const StorageIRI file = context.at(u"d/f");
    const StorageIRI folder = context.at(u"d");
    const StorageIRI missing = context.at(u"n/n");
    for (const StorageIRI& iri : {file, folder, missing}) {
        tryTo([&] { provider.doCreateFile(iri); });
        tryTo([&] { provider.doCreateFolder(iri); });
    }
    tryTo([&] { provider.doRemoveFile(missing); });
    tryTo([&] { provider.doRemoveFolder(missing); });
    tryTo([&] { provider.doRemoveFolder(folder); });
    tryTo([&] { provider.doRemoveFolderRecursively(missing); });
    tryTo([&] { provider.doCreateFolderRecursive(file); });
    tryTo([&] { provider.doMoveFile(file, missing, policies::refuse); });
    tryTo([&] { provider.doMoveFile(file, file, policies::refuse); });
    tryTo([&] { provider.doMoveFolder(missing, folder, policies::replace); });
    tryTo([&] { provider.doMoveFolder(folder, context.at(u"d/below"), policies::replace); });
    tryTo([&] { provider.doCopyFile(missing, file, policies::replace); });
    tryTo([&] { provider.doSetLastModified(missing, pastTime()); });
    tryTo([&] { provider.doSetWritable(missing, true); });
    provider.doSetWritable(folder, false);
    tryTo([&] { provider.doCreateFile(context.at(u"d/n")); });
    provider.doSetWritable(folder, true);
}

} // namespace
} // namespace every_operation

void useEveryOperation(CheckContext& context, const IProvider& provider) {
    using namespace every_operation;
    const StorageIRI file = context.at(u"d/f");
    provider.doCreateFolderRecursive(context.at(u"d/e"));
    provider.doCreateFile(context.at(u"d/g"));
    makeFile(provider, file, "bytes");
    provider.doSetLastModified(file, pastTime());
    provider.doSetWritable(file, false);
    provider.doSetWritable(file, true);
    useQueries(context, provider);
    useListings(context, provider);
    useStreams(context, provider);
    useEvents(context, provider);
    useFailures(context, provider);
    provider.doCopyFile(file, context.at(u"d/h"), policies::refuse);
    provider.doCopyFileAtomic(file, context.at(u"d/h"), policies::replace, [](unsigned long long) {});
    provider.doMoveFile(file, context.at(u"d/g"), policies::replace);
    provider.doMoveFolder(context.at(u"d"), context.at(u"m"), policies::refuse);
    expect(contentOf(provider, context.at(u"m/g")) == "bytes", "a moved file has other bytes than before");
    provider.doRemoveFolder(context.at(u"m/e"));
    provider.doRemoveFile(context.at(u"m/g"));
    provider.doRemoveFolderRecursively(context.at(u"m"));
}

} // namespace storage::host::checks
