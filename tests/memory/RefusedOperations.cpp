#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using Role = TreeShape::Role TreeShape::*;
using enum ErrorCode;
using enum ReplacementPolicy;

namespace {

const boost::posix_time::ptime someTime(boost::gregorian::date(2002, 3, 4));

constexpr ByteStreamOpenOptions keep{};
constexpr ByteStreamOpenOptions mustExist{.existence = ByteStreamExistence::MustExist};

/// An operation that is refused: `call` with the location at `role`.
template <class Call>
Operation refused(std::string name, Role role, ErrorCode code, Call call) {
    return operation(std::move(name), {role}, [=](auto& p, auto& s) { call(p, *(s.*role)); }).refusedAs(code);
}

std::vector<Operation> creations() {
    const auto file = [](auto& p, auto& iri) { p.doCreateFile(iri); };
    const auto folder = [](auto& p, auto& iri) { p.doCreateFolder(iri); };
    const auto open = [](auto& p, auto& iri) { p.doOpenStream(iri, keep); };
    const auto openExisting = [](auto& p, auto& iri) { p.doOpenStream(iri, mustExist); };
    return {
        refused("createFileOverAFile", &Shape::file, AlreadyExists, file),
        refused("createFileOverAFolder", &Shape::folder, AlreadyExists, file),
        refused("createFileBelowNothing", &Shape::newBelowNew, NotFound, file),
        refused("createFileInAReadOnlyFolder", &Shape::newInReadOnlyFolder, ReadOnly, file),
        refused("createFolderOverAFile", &Shape::file, AlreadyExists, folder),
        refused("createFolderOverAFolder", &Shape::folder, AlreadyExists, folder),
        refused("createFolderBelowNothing", &Shape::newBelowNew, NotFound, folder),
        refused("createFolderInAReadOnlyFolder", &Shape::newInReadOnlyFolder, ReadOnly, folder),
        refused("openAFolder", &Shape::folder, AlreadyExists, open),
        refused("openBelowNothing", &Shape::newBelowNew, NotFound, open),
        refused("openANewFileInAReadOnlyFolder", &Shape::newInReadOnlyFolder, ReadOnly, open),
        refused("openAReadOnlyFile", &Shape::readOnlyFile, ReadOnly, open),
        refused("openAMissingFileThatMustExist", &Shape::newEntry, NotFound, openExisting),
    };
}

std::vector<Operation> removals() {
    const auto file = [](auto& p, auto& iri) { p.doRemoveFile(iri); };
    const auto folder = [](auto& p, auto& iri) { p.doRemoveFolder(iri); };
    return {
        refused("removeFileThatIsMissing", &Shape::newEntry, NotFound, file),
        refused("removeFileBelowNothing", &Shape::newBelowNew, NotFound, file),
        refused("removeFileThatIsAFolder", &Shape::folder, NotFound, file),
        refused("removeFileThatIsReadOnly", &Shape::readOnlyFile, ReadOnly, file),
        refused("removeFileInAReadOnlyFolder", &Shape::fileInReadOnlyFolder, ReadOnly, file),
        refused("removeFolderThatIsMissing", &Shape::newEntry, NotFound, folder),
        refused("removeFolderBelowNothing", &Shape::newBelowNew, NotFound, folder),
        refused("removeFolderThatIsAFile", &Shape::file, NotFound, folder),
        refused("removeFolderThatHoldsSomething", &Shape::folder, FolderNotEmpty, folder),
        refused("removeFolderInAReadOnlyFolder", &Shape::emptyFolderInReadOnlyFolder, ReadOnly, folder),
    };
}

std::vector<Operation> lookUps() {
    return {
        refused("getFileAttributesOfNothing", &Shape::newEntry, NotFound,
                [](auto& p, auto& iri) { p.doGetFileAttributes(iri); }),
        refused("getFileAttributesOfAFolder", &Shape::folder, NotFound,
                [](auto& p, auto& iri) { p.doGetFileAttributes(iri); }),
        refused("getFolderAttributesOfNothing", &Shape::newBelowNew, NotFound,
                [](auto& p, auto& iri) { p.doGetFolderAttributes(iri); }),
        refused("getFolderAttributesOfAFile", &Shape::file, NotFound,
                [](auto& p, auto& iri) { p.doGetFolderAttributes(iri); }),
        refused("openNothingToRead", &Shape::newEntry, NotFound,
                [](auto& p, auto& iri) { p.doOpenReadOnlyStream(iri); }),
        refused("openAFolderToRead", &Shape::folder, NotFound,
                [](auto& p, auto& iri) { p.doOpenReadOnlyStream(iri); }),
        refused("listAllOfNothing", &Shape::newEntry, NotFound, [](auto& p, auto& iri) { p.doListAll(iri); }),
        refused("listFilesOfAFile", &Shape::file, NotFound, [](auto& p, auto& iri) { p.doListFiles(iri); }),
        refused("listFoldersOfNothing", &Shape::newBelowNew, NotFound,
                [](auto& p, auto& iri) { p.doListFolders(iri); }),
        refused("setLastModifiedOfNothing", &Shape::newEntry, NotFound,
                [](auto& p, auto& iri) { p.doSetLastModified(iri, someTime); }),
        refused("makeNothingReadOnly", &Shape::newEntry, NotFound,
                [](auto& p, auto& iri) { p.doSetWritable(iri, false); }),
    };
}

Operation fileMove(std::string name, Role source, Role destination, ReplacementPolicy policy,
                   ErrorCode code) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) { p.doMoveFile(*(s.*source), *(s.*destination), policy); })
        .refusedAs(code);
}

std::vector<Operation> fileMoves() {
    return {
        fileMove("moveAMissingFile", &Shape::newEntry, &Shape::newAtTop, RefuseExisting, NotFound),
        fileMove("moveAFileFromBelowNothing", &Shape::newBelowNew, &Shape::newAtTop, RefuseExisting,
                 NotFound),
        fileMove("moveAFolderAsAFile", &Shape::folder, &Shape::newAtTop, RefuseExisting, NotFound),
        fileMove("moveAFileBelowNothing", &Shape::file, &Shape::newBelowNew, RefuseExisting, NotFound),
        fileMove("moveAFileOverAFile", &Shape::file, &Shape::otherFile, RefuseExisting, AlreadyExists),
        fileMove("moveAFileOverAFolder", &Shape::file, &Shape::emptyFolder, ReplaceExisting, AlreadyExists),
        fileMove("moveAFileOverAReadOnlyFile", &Shape::file, &Shape::readOnlyFile, ReplaceExisting, ReadOnly),
        fileMove("moveAFileIntoAReadOnlyFolder", &Shape::file, &Shape::newInReadOnlyFolder, RefuseExisting,
                 ReadOnly),
        fileMove("moveAFileOverAFileInAReadOnlyFolder", &Shape::file, &Shape::fileInReadOnlyFolder,
                 ReplaceExisting, ReadOnly),
        fileMove("moveAFileOutOfAReadOnlyFolder", &Shape::fileInReadOnlyFolder, &Shape::newEntry,
                 RefuseExisting, ReadOnly),
        fileMove("moveAFileOutOfAReadOnlyFolderOverAnother", &Shape::fileInReadOnlyFolder, &Shape::otherFile,
                 ReplaceExisting, ReadOnly)
            .leaving(unchangedOrRefused), // the refused move has removed the other file
        fileMove("moveAFileOntoItself", &Shape::file, &Shape::file, RefuseExisting, AlreadyExists),
        fileMove("moveAFileOntoItselfReplacing", &Shape::file, &Shape::file, ReplaceExisting,
                 NotFound)
            .leaving(unchangedOrRefused), // the refused move has removed the file
    };
}

Operation folderMove(std::string name, Role source, Role destination, ReplacementPolicy policy,
                     ErrorCode code) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) { p.doMoveFolder(*(s.*source), *(s.*destination), policy); })
        .refusedAs(code);
}

std::vector<Operation> folderMoves() {
    return {
        folderMove("moveAMissingFolder", &Shape::newEntry, &Shape::newAtTop, RefuseExisting, NotFound),
        folderMove("moveAFolderFromBelowNothing", &Shape::newBelowNew, &Shape::newAtTop, RefuseExisting,
                   NotFound),
        folderMove("moveAFileAsAFolder", &Shape::file, &Shape::newAtTop, RefuseExisting, NotFound),
        folderMove("moveAFolderBelowNothing", &Shape::emptyFolder, &Shape::newBelowNew, RefuseExisting,
                   NotFound),
        folderMove("moveAFolderOverAFile", &Shape::folder, &Shape::otherFile, ReplaceExisting, AlreadyExists),
        folderMove("moveAFolderOverAFolder", &Shape::folder, &Shape::emptyFolder, RefuseExisting,
                   AlreadyExists),
        folderMove("moveAFolderOverOneThatHoldsSomething", &Shape::emptyFolder, &Shape::folder,
                   ReplaceExisting, AlreadyExists),
        folderMove("moveAFolderOutOfAReadOnlyOne", &Shape::emptyFolderInReadOnlyFolder, &Shape::newEntry,
                   RefuseExisting, ReadOnly),
        folderMove("moveAFolderIntoAReadOnlyOne", &Shape::folder, &Shape::newInReadOnlyFolder, RefuseExisting,
                   ReadOnly),
        folderMove("moveAReadOnlyFolder", &Shape::readOnlyFolder, &Shape::newAtTop, RefuseExisting, ReadOnly),
        folderMove("moveAFolderIntoItself", &Shape::folder, &Shape::newInFolder, RefuseExisting,
                   AlreadyExists),
        folderMove("moveAFolderOntoItself", &Shape::folder, &Shape::folder, RefuseExisting, AlreadyExists),
        folderMove("moveAFolderThatHoldsAReadOnlyOne", &Shape::guardedFolder, &Shape::newAtTop,
                   RefuseExisting, ReadOnly)
            .leaving(partlyMoved(&Shape::guardedFolder, &Shape::newAtTop)),
    };
}

} // namespace

std::vector<Operation> refusedOperations() {
    std::vector<Operation> all;
    for (const auto& some : {creations(), removals(), lookUps(), fileMoves(), folderMoves()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace storage::tests
