#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using Role = TreeShape::Role TreeShape::*;
using enum ErrorCode;
using enum ReplacementPolicy;

namespace {

std::vector<Operation> changes() {
    return {
        operation("createFolderRecursiveOverAFile", {&Shape::file},
                  [](auto& p, auto& s) { p.doCreateFolderRecursive(*s.file); })
            .refusedAs(AlreadyExists),
        operation("createFolderRecursiveInAReadOnlyFolder", {&Shape::newInReadOnlyFolder},
                  [](auto& p, auto& s) { p.doCreateFolderRecursive(*s.newInReadOnlyFolder); })
            .refusedAs(ReadOnly),
        operation("removeFolderRecursivelyOfNothing", {&Shape::newEntry},
                  [](auto& p, auto& s) { p.doRemoveFolderRecursively(*s.newEntry); })
            .refusedAs(NotFound),
        operation("removeFolderRecursivelyOfAGuardedOne", {&Shape::guardedFolder},
                  [](auto& p, auto& s) { p.doRemoveFolderRecursively(*s.guardedFolder); })
            .refusedAs(ReadOnly)
            .leaving(partlyDone),
        operation("truncateNothing", {&Shape::newEntry},
                  [](auto& p, auto& s) { p.doTruncateToSize(*s.newEntry, 1); })
            .refusedAs(NotFound),
        operation("truncateAReadOnlyFile", {&Shape::readOnlyFile},
                  [](auto& p, auto& s) { p.doTruncateToSize(*s.readOnlyFile, 1); })
            .refusedAs(ReadOnly),
    };
}

Operation copying(std::string name, Role source, Role destination, ReplacementPolicy policy, ErrorCode code) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) { p.doCopyFile(*(s.*source), *(s.*destination), policy); })
        .refusedAs(code)
        .leaving(unchangedButForATemporaryFile);
}

std::vector<Operation> copies() {
    return {
        copying("copyNothing", &Shape::newEntry, &Shape::newAtTop, RefuseExisting, NotFound),
        copying("copyAFileBelowNothing", &Shape::file, &Shape::newBelowNew, RefuseExisting, NotFound),
        copying("copyAFileOverAFile", &Shape::file, &Shape::otherFile, RefuseExistingFile, AlreadyExists),
        copying("copyAFileOverAFolder", &Shape::file, &Shape::emptyFolder, ReplaceExisting, AlreadyExists),
        copying("copyAFileIntoAReadOnlyFolder", &Shape::file, &Shape::newInReadOnlyFolder, RefuseExisting,
                ReadOnly),
        copying("copyAFileOverAReadOnlyFile", &Shape::file, &Shape::readOnlyFile, ReplaceExisting, ReadOnly),
    };
}

std::vector<Operation> queries() {
    return {
        operation("getExtendedAttributesOfNothing", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doGetExtendedAttributes(*s.newEntry); })
            .refusedAs(NotFound),
        operation("listAllNamesOnlyOfNothing", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doListAllNamesOnly(*s.newEntry); })
            .refusedAs(NotFound),
        operation("listFilesWildcardsOfAFile", {&Shape::file},
                  [](auto& p, auto& s) { return p.doListFilesWildcards(*s.file, u"*"); })
            .refusedAs(NotFound),
        operation("listAllRecursiveOfNothing", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doListAllRecursive(*s.newEntry); })
            .refusedAs(NotFound),
    };
}

/// An operation that is not offered: `call` with any location.
template <class Call>
Operation notOffered(std::string name, Call call) {
    return operation(std::move(name), {&Shape::newEntry}, [=](auto& p, auto& s) { call(p, *s.newEntry); })
        .refusedAs(NotOffered);
}

std::vector<Operation> operationsNotOffered() {
    return {
        notOffered("openTransactionalStream",
                   [](auto& p, auto& iri) { p.doOpenTransactionalStream(iri, {}); }),
        notOffered("openTransactionalStreamAtScratchLocation",
                   [](auto& p, auto& iri) { p.doOpenTransactionalStreamAtScratchLocation(iri, iri, {}); }),
        notOffered("publishFolderEventsFor", [](auto& p, auto& iri) { p.doPublishFolderEventsFor(iri, {}); }),
        notOffered("publishFileEventsFor", [](auto& p, auto& iri) { p.doPublishFileEventsFor(iri, {}); }),
        notOffered("stopPublishingEventsFor", [](auto& p, auto& iri) { p.doStopPublishingEventsFor(iri); }),
        notOffered("startChangePollingMechanism",
                   [](auto& p, auto& iri) { p.doStartChangePollingMechanism(iri, {}); }),
        notOffered("stopChangePollingMechanism",
                   [](auto& p, auto& iri) { p.doStopChangePollingMechanism(iri); }),
        notOffered("getProviderStorageInfo", [](auto& p, auto& iri) { p.doGetProviderStorageInfo(iri); }),
    };
}

} // namespace

std::vector<Operation> refusedHostOperations() {
    std::vector<Operation> all;
    for (const auto& some : {changes(), copies(), queries(), operationsNotOffered()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace storage::tests
