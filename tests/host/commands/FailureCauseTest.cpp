#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace storage::tests {

namespace {

using provider::ErrorCode;
using provider::Exception;
using provider::StorageIRI;

/// Messages of commands if the storage refuses an operation that passed the commands' own checks. The storage
/// contains the folders /a and /ro (read-only), and the file /f.
class FailureCauseTest : public SessionTest {
protected:
    FailureCauseTest() {
        succeed("mkdir /a /ro");
        succeed("write /f text");
        succeed("chmod -w /ro");
    }

    /// Runs `step` once, before an operation.
    void before(const std::string& operation, const std::function<void(const StorageIRI&)>& step) const {
        provider_->before = [=, done = false](const std::string& called, const StorageIRI& iri) mutable {
            if (called == operation && !done) {
                done = true;
                step(iri);
            }
        };
    }

    void refuse(const std::string& operation, ErrorCode code) const {
        before(operation, [=](const StorageIRI& iri) { throw Exception(code, iri); });
    }
};

TEST_F(FailureCauseTest, NamesTheTopmostMissingFolder) {
    for (const std::string command : {"mkdir", "touch", "write", "append"}) {
        EXPECT_EQ(fail(command + " /a/x/y/z"),
                  "qzstorage: " + command + ": /a/x/y/z: folder /a/x does not exist\n");
    }
    EXPECT_EQ(fail("truncate -s 1 /a/x/y"), "qzstorage: truncate: /a/x/y: folder /a/x does not exist\n");
}

TEST_F(FailureCauseTest, NamesAFileThatReplacedTheFolder) {
    before("createFile", [&](const StorageIRI&) {
        provider_->doRemoveFolder(StorageIRI(u"/a"));
        provider_->doCreateFile(StorageIRI(u"/a"));
    });
    EXPECT_EQ(fail("touch /a/f"), "qzstorage: touch: /a/f: /a is not a folder\n");
}

TEST_F(FailureCauseTest, NamesTheReadOnlyEntry) {
    EXPECT_EQ(fail("touch /ro/f"), "qzstorage: touch: /ro/f: folder /ro is read-only\n");
    EXPECT_EQ(fail("mkdir /ro/f"), "qzstorage: mkdir: /ro/f: folder /ro is read-only\n");
    EXPECT_EQ(fail("rmdir /ro"), "qzstorage: rmdir: /ro: the folder is read-only\n");
    succeed("chmod -w /f");
    EXPECT_EQ(fail("append /f x"), "qzstorage: append: /f: the file is read-only\n");
}

TEST_F(FailureCauseTest, ReportsThatANewNameMayBeUnsupported) {
    refuse("createFile", ErrorCode::NotFound);
    EXPECT_EQ(fail("touch /a/f"),
              "qzstorage: touch: /a/f: no such file or folder, or the storage does not support the name\n");
}

TEST_F(FailureCauseTest, ReportsNoMoreThanIsCertain) {
    refuse("moveFile", ErrorCode::NotFound);
    EXPECT_EQ(fail("mv /f /a/f"),
              "qzstorage: mv: /f: not found: an entry of the required kind, or the folder that "
              "would hold it\n");
    refuse("moveFile", ErrorCode::ReadOnly);
    EXPECT_EQ(fail("mv /f /a/f"),
              "qzstorage: mv: /f: read-only: this entry, or another one that the operation changes\n");
    refuse("createFolder", ErrorCode::AlreadyExists);
    EXPECT_EQ(fail("mkdir /a/d"),
              "qzstorage: mkdir: /a/d: already exists, or is in the folder that is to be moved\n");
    refuse("removeFile", ErrorCode::NotOffered);
    EXPECT_EQ(fail("rm /f"), "qzstorage: rm: /f: this provider does not offer the operation\n");
}

TEST_F(FailureCauseTest, ReportsTheErrorWhenTheStorageFails) {
    bool isRefused = false;
    provider_->before = [&](const std::string& called, const StorageIRI& iri) {
        if (isRefused) {
            throw std::runtime_error("the storage is gone");
        }
        if (called == "createFile") {
            isRefused = true;
            throw Exception(ErrorCode::NotFound, iri);
        }
    };
    EXPECT_EQ(fail("touch /a/f"),
              "qzstorage: touch: /a/f: not found: an entry of the required kind, or the folder that "
              "would hold it\n");
}

} // namespace

} // namespace storage::tests
