#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using enum Operation::Allocates;

namespace {

const StorageIRI root(u"/");
const boost::posix_time::ptime someTime(boost::gregorian::date(2002, 3, 4));

constexpr ByteStreamOpenOptions keep{};
constexpr ByteStreamOpenOptions empty{.content = ByteStreamContent::Empty};
constexpr ByteStreamOpenOptions append{.append = ByteStreamAppend::AppendAtEnd};
constexpr ByteStreamOpenOptions mustExist{.existence = ByteStreamExistence::MustExist};

std::vector<Operation> changes() {
    return {
        operation("createFile", {&Shape::newEntry}, [](auto& p, auto& s) { p.doCreateFile(*s.newEntry); })
            .allocating(Always),
        operation("createFolder", {&Shape::newEntry}, [](auto& p, auto& s) { p.doCreateFolder(*s.newEntry); })
            .allocating(Always),
        operation("removeFile", {&Shape::file}, [](auto& p, auto& s) { p.doRemoveFile(*s.file); })
            .allocating(InLargeTrees),
        operation("removeFolder", {&Shape::emptyFolder},
                  [](auto& p, auto& s) { p.doRemoveFolder(*s.emptyFolder); }),
        operation("setLastModifiedOfAFile", {&Shape::file},
                  [](auto& p, auto& s) { p.doSetLastModified(*s.file, someTime); })
            .allocating(Never),
        operation("setLastModifiedOfAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { p.doSetLastModified(*s.folder, someTime); })
            .allocating(Never),
        operation("setLastModifiedOfAReadOnlyFile", {&Shape::readOnlyFile},
                  [](auto& p, auto& s) { p.doSetLastModified(*s.readOnlyFile, someTime); })
            .allocating(Never),
        operation("setLastModifiedOfTheRoot", {}, [](auto& p, auto&) { p.doSetLastModified(root, someTime); })
            .allocating(Never),
        operation("makeAFileReadOnly", {&Shape::file},
                  [](auto& p, auto& s) { p.doSetWritable(*s.file, false); })
            .allocating(Never),
        operation("makeAFolderReadOnly", {&Shape::folder},
                  [](auto& p, auto& s) { p.doSetWritable(*s.folder, false); })
            .allocating(Never),
        operation("makeAFileWritable", {&Shape::readOnlyFile},
                  [](auto& p, auto& s) { p.doSetWritable(*s.readOnlyFile, true); })
            .allocating(Never),
        operation("makeAFolderWritable", {&Shape::readOnlyFolder},
                  [](auto& p, auto& s) { p.doSetWritable(*s.readOnlyFolder, true); })
            .allocating(Never),
        operation("makeTheRootReadOnly", {}, [](auto& p, auto&) { p.doSetWritable(root, false); })
            .allocating(Never),
    };
}

std::vector<Operation> openings() {
    return {
        operation("openANewFile", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.newEntry, keep); })
            .allocating(Always),
        operation("openANewFileAndEmptyIt", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.newEntry, empty); })
            .allocating(Always),
        operation("openANewFileToAppend", {&Shape::newEntry},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.newEntry, append); })
            .allocating(Always),
        operation("openAFile", {&Shape::file}, [](auto& p, auto& s) { return p.doOpenStream(*s.file, keep); })
            .allocating(Always),
        operation("openAFileThatMustExist", {&Shape::file},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.file, mustExist); })
            .allocating(Always),
        operation("openAFileAndEmptyIt", {&Shape::file},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.file, empty); })
            .allocating(Always),
        operation("openAFileToAppend", {&Shape::file},
                  [](auto& p, auto& s) { return p.doOpenStream(*s.file, append); })
            .allocating(Always),
        operation("openAFileToRead", {&Shape::file},
                  [](auto& p, auto& s) { return p.doOpenReadOnlyStream(*s.file); })
            .allocating(Always),
        operation("openAReadOnlyFileToRead", {&Shape::readOnlyFile},
                  [](auto& p, auto& s) { return p.doOpenReadOnlyStream(*s.readOnlyFile); })
            .allocating(Always),
    };
}

std::vector<Operation> queries() {
    return {
        operation("fileExists", {&Shape::file}, [](auto& p, auto& s) { return p.doFileExists(*s.file); })
            .allocating(Never),
        operation("fileExistsForAFolder", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doFileExists(*s.folder); })
            .allocating(Never),
        operation("fileExistsForNothing", {&Shape::newBelowNew},
                  [](auto& p, auto& s) { return p.doFileExists(*s.newBelowNew); })
            .allocating(Never),
        operation("fileExistsForTheRoot", {}, [](auto& p, auto&) { return p.doFileExists(root); })
            .allocating(Never),
        operation("folderExists", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doFolderExists(*s.folder); })
            .allocating(Never),
        operation("folderExistsForAFile", {&Shape::file},
                  [](auto& p, auto& s) { return p.doFolderExists(*s.file); })
            .allocating(Never),
        operation("folderExistsForNothing", {&Shape::newBelowNew},
                  [](auto& p, auto& s) { return p.doFolderExists(*s.newBelowNew); })
            .allocating(Never),
        operation("folderExistsForTheRoot", {}, [](auto& p, auto&) { return p.doFolderExists(root); })
            .allocating(Never),
        operation("getFileAttributes", {&Shape::file},
                  [](auto& p, auto& s) { return p.doGetFileAttributes(*s.file); })
            .allocating(Never),
        operation("getFolderAttributes", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doGetFolderAttributes(*s.folder); })
            .allocating(Never),
        operation("getFolderAttributesOfTheRoot", {},
                  [](auto& p, auto&) { return p.doGetFolderAttributes(root); })
            .allocating(Never),
        operation("listAll", {&Shape::folder}, [](auto& p, auto& s) { return p.doListAll(*s.folder); })
            .allocating(Always),
        operation("listFiles", {&Shape::folder}, [](auto& p, auto& s) { return p.doListFiles(*s.folder); })
            .allocating(Always),
        operation("listFolders", {&Shape::folder},
                  [](auto& p, auto& s) { return p.doListFolders(*s.folder); })
            .allocating(Always)
            .onSmallTreesOnly(),
        operation("listAReadOnlyFolder", {&Shape::readOnlyFolder},
                  [](auto& p, auto& s) { return p.doListAll(*s.readOnlyFolder); })
            .allocating(Always),
        operation("listAnEmptyFolder", {&Shape::emptyFolder},
                  [](auto& p, auto& s) { return p.doListAll(*s.emptyFolder); })
            .allocating(Always),
        operation("listTheRoot", {}, [](auto& p, auto&) { return p.doListAll(root); }).allocating(Always),
        operation("hasFeature", {},
                  [](auto& p, auto&) { return p.doHasFeature(ExtendedFeature::VolatileStorage); })
            .allocating(Never),
    };
}

} // namespace

std::vector<Operation> providerOperations() {
    std::vector<Operation> all;
    for (const auto& some : {changes(), openings(), queries()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace storage::tests
