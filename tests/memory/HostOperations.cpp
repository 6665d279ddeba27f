#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <limits>
#include <stdexcept>

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using Role = TreeShape::Role TreeShape::*;
using enum Operation::Allocates;
using enum ReplacementPolicy;

namespace {

const StorageIRI root(u"/");

std::vector<Operation> changes() {
    return {
        operation("createFolderRecursive", {&Shape::newBelowNew},
                  [](auto& p, auto& s) { p.doCreateFolderRecursive(*s.newBelowNew); })
            .allocating(Always)
            .leaving(partlyDone),
        operation("createFolderRecursiveOfAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { p.doCreateFolderRecursive(*s.folder); })
            .allocating(Never),
        operation("removeFolderRecursively", {&Shape::removableFolder},
                  [](auto& p, auto& s) { p.doRemoveFolderRecursively(*s.removableFolder); })
            .allocating(Always)
            .leaving(partlyDone),
        operation("removeFolderRecursivelyOfAnEmptyOne", {&Shape::emptyFolder},
                  [](auto& p, auto& s) { p.doRemoveFolderRecursively(*s.emptyFolder); })
            .allocating(Always),
    };
}

Operation copying(std::string name, Role source, Role destination, ReplacementPolicy policy) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) { p.doCopyFile(*(s.*source), *(s.*destination), policy); })
        .allocating(Always)
        .leaving(unchangedButForATemporaryFile);
}

Operation copyingAtomically(std::string name, Role source, Role destination, ReplacementPolicy policy) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) {
                         p.doCopyFileAtomic(*(s.*source), *(s.*destination), policy,
                                            [](unsigned long long) {});
                     })
        .allocating(Always)
        .leaving(unchangedButForATemporaryFile);
}

std::vector<Operation> copies() {
    return {
        copying("copyFile", &Shape::file, &Shape::newAtTop, RefuseExisting),
        copying("copyFileIntoAFolder", &Shape::otherFile, &Shape::newEntry, RefuseExistingFile),
        copying("copyFileOverAnother", &Shape::file, &Shape::otherFile, ReplaceExisting),
        copying("copyFileOntoItself", &Shape::file, &Shape::file, ReplaceExisting),
        copying("copyAReadOnlyFile", &Shape::readOnlyFile, &Shape::newAtTop, RefuseExisting),
        copyingAtomically("copyFileAtomic", &Shape::file, &Shape::newAtTop, RefuseExisting),
        copyingAtomically("copyFileAtomicOverAnother", &Shape::file, &Shape::otherFile, ReplaceExisting),
    };
}

Operation truncating(std::string name, unsigned long long size) {
    return operation(std::move(name), {&Shape::file},
                     [size](auto& p, auto& s) { p.doTruncateToSize(*s.file, size); })
        .allocating(Always);
}

std::vector<Operation> truncations() {
    constexpr unsigned long long severalBlocks = 200'000;
    return {
        truncating("truncateToNothing", 0),
        truncating("truncateToSomeBytes", 5),
        truncating("truncateToSomeMoreBytes", 300).leaving(partlyGrown(&Shape::file)),
        truncating("truncateToManyMoreBytes", severalBlocks).leaving(partlyGrown(&Shape::file)),
        operation("truncateToMoreThanThereCanBe", {&Shape::file},
                  [](auto& p, auto& s) {
                      try {
                          p.doTruncateToSize(*s.file, std::numeric_limits<unsigned long long>::max());
                      } catch (const std::length_error&) {
                          return false;
                      }
                      return true;
                  })
            .allocating(Always),
    };
}

/// The default listings: those that return an iterator, and those that return names.
std::vector<Operation> listings() {
    return {
        operation("listAllWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllWildcards(*s.folder, u"*e*"); })
            .onSmallTreesOnly(),
        operation("listFilesWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFilesWildcards(*s.folder, u"?*"); })
            .onSmallTreesOnly(),
        operation("listFoldersWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFoldersWildcards(*s.folder, u"*e*"); })
            .onSmallTreesOnly(),
        operation("listAllNamesOnly", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllNamesOnly(*s.folder); })
            .onSmallTreesOnly(),
        operation("listAllNamesOnlyWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllNamesOnlyWildcards(*s.folder, u"*e*"); })
            .onSmallTreesOnly(),
        operation("listFoldersNamesOnly", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFoldersNamesOnly(*s.folder); })
            .onSmallTreesOnly(),
        operation("listFoldersNamesOnlyWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFoldersNamesOnlyWildcards(*s.folder, u"*e*"); })
            .onSmallTreesOnly(),
        operation("listFilesNamesOnly", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFilesNamesOnly(*s.folder); })
            .onSmallTreesOnly(),
        operation("listFilesNamesOnlyWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFilesNamesOnlyWildcards(*s.folder, u"*e*"); })
            .onSmallTreesOnly(),
        operation("listAllRecursive", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllRecursive(*s.folder); }),
        operation("listAllRecursiveWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllRecursiveWildcards(*s.folder, u"?*"); })
            .onSmallTreesOnly(),
        operation("listAllRecursiveNamesOnly", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllRecursiveNamesOnly(*s.folder); })
            .onSmallTreesOnly(),
        operation("listAllRecursiveNamesOnlyWildcards", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListAllRecursiveNamesOnlyWildcards(*s.folder, u"*e"); })
            .onSmallTreesOnly(),
        operation("listTheRootRecursively", {}, [](auto& p, auto&) { return p.doListAllRecursive(root); })
            .onSmallTreesOnly(),
    };
}

std::vector<Operation> queries() {
    return {
        operation("existsForAFile", {&Shape::file}, [](auto& p, auto& s) { return p.doExists(*s.file); })
            .allocating(Never),
        operation("existsForAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doExists(*s.folder); })
            .allocating(Never),
        operation("existsForNothing", {&Shape::newBelowNew},
                  [](auto& p, auto& s) { return p.doExists(*s.newBelowNew); })
            .allocating(Never),
        operation("existsExtendedForAFile", {&Shape::file},
                  [](auto& p, auto& s) { return p.doExistsExtended(*s.file); })
            .allocating(Never),
        operation("existsExtendedForAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doExistsExtended(*s.folder); })
            .allocating(Never),
        operation("existsExtendedForNothing", {&Shape::newBelowNew},
                  [](auto& p, auto& s) { return p.doExistsExtended(*s.newBelowNew); })
            .allocating(Never),
        operation("getExtendedAttributesOfAFile", {&Shape::file},
                  [](auto& p, auto& s) { return p.doGetExtendedAttributes(*s.file); })
            .allocating(Never),
        operation("getExtendedAttributesOfAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doGetExtendedAttributes(*s.folder); })
            .allocating(Never),
        operation("getCanonicalLocation", {&Shape::file},
                  [](auto& p, auto& s) { return p.doGetCanonicalLocation(*s.file); }),
        operation("getCanonicalLocationOfTheRoot", {},
                  [](auto& p, auto&) { return p.doGetCanonicalLocation(root); })
            .allocating(Never),
        operation("getPathComparator", {}, [](auto& p, auto&) { return p.doGetPathComparator(root); })
            .allocating(Never),
        operation("getFilenameSensitivity", {},
                  [](auto& p, auto&) { return p.doGetFilenameSensitivity(root); })
            .allocating(Never),
        operation("shutdown", {}, [](auto& p, auto&) { p.doShutdown(); }).allocating(Never),
    };
}

} // namespace

std::vector<Operation> hostOperations() {
    std::vector<Operation> all;
    for (const auto& some : {changes(), copies(), truncations(), queries()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    for (Operation listing : listings()) {
        all.push_back(std::move(listing).allocating(Always));
    }
    return all;
}

} // namespace storage::tests
