#include "host/commands/CommandTable.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"
#include "hostapi/storage/provider/WholeFile.h"
#include "tests/support/SessionTest.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using host::FailureHandling;
using host::Session;
using host::Shell;
using provider::StorageIRI;
using provider::SystemError;
using testing::HasSubstr;

/// cp and mv between the storages mem and disk.
class StorageCopyTest : public SessionTest {
protected:
    StorageCopyTest() : SessionTest({"mem", "disk"}) {
        succeed("mkdir -p /a/s disk:/d");
        succeed("write /a/f one");
        succeed("write /a/s/g two");
    }

    std::string all(const std::string& storage) { return succeed("find " + storage + ":/"); }

    /// Makes an operation of the storage disk fail for one path.
    void failAt(const std::string& failing, const std::u16string& path) {
        providers_[1]->before = [failing, path](const char* operation, const StorageIRI& iri) {
            if (operation == failing && iri.getPath() == path) {
                throw SystemError(ENOSPC, iri);
            }
        };
    }

    static constexpr const char* source = "mem:/\nmem:/a\nmem:/a/f\nmem:/a/s\nmem:/a/s/g\n";
};

TEST_F(StorageCopyTest, CpCopiesFilesAndFolders) {
    succeed("cp /a/f disk:/d");
    succeed("cp /a/f disk:/d/other");
    succeed("cp -r mem:/a disk:/e");
    EXPECT_EQ(all("disk"), "disk:/\ndisk:/d\ndisk:/d/f\ndisk:/d/other\ndisk:/e\ndisk:/e/f\ndisk:/e/s\n"
                           "disk:/e/s/g\n");
    EXPECT_EQ(succeed("cat disk:/d/f disk:/d/other disk:/e/s/g"), "one\none\ntwo\n");
    EXPECT_EQ(all("mem"), source);
    succeed("cp -r mem:/ disk:/all");
    EXPECT_EQ(succeed("cat disk:/all/a/f"), "one\n");
}

TEST_F(StorageCopyTest, CpCopiesFilesLargerThanTheBuffer) {
    std::string content(std::size_t{1} << 20U, 'x');
    content += "end";
    provider::writeFile(*provider_, StorageIRI(u"/large"), content);
    succeed("cp /large disk:/");
    EXPECT_EQ(provider::readFile(*providers_[1], StorageIRI(u"/large")), content);
}

TEST_F(StorageCopyTest, CpKeepsTheTimeAndTheFlagOfTheSource) {
    const boost::posix_time::ptime time(boost::gregorian::date(2001, 2, 3));
    succeed("chmod -w /a/f");
    succeed("chmod -w /a/s");
    for (const char16_t* const path : {u"/a/f", u"/a/s", u"/a"}) {
        provider_->doSetLastModified(StorageIRI(path), time);
    }
    succeed("cp -r /a disk:/");
    const auto& copy = *providers_[1];
    EXPECT_EQ(copy.doGetFileAttributes(StorageIRI(u"/a/f")).getLastModified(), time);
    EXPECT_FALSE(copy.doGetFileAttributes(StorageIRI(u"/a/f")).isWritable());
    EXPECT_TRUE(copy.doGetFileAttributes(StorageIRI(u"/a/s/g")).isWritable());
    EXPECT_EQ(copy.doGetFolderAttributes(StorageIRI(u"/a/s")).getLastModified(), time);
    EXPECT_FALSE(copy.doGetFolderAttributes(StorageIRI(u"/a/s")).isWritable());
    EXPECT_EQ(copy.doGetFolderAttributes(StorageIRI(u"/a")).getLastModified(), time);
}

TEST_F(StorageCopyTest, CpKeepsAttributesOfTheSession) {
    disk_.write("src/s/f", "content");
    ASSERT_EQ(::chmod((disk_ / "src/s/f").c_str(), 0751), 0);
    std::filesystem::create_hard_link(disk_ / "src/s/f", disk_ / "src/s/g");
    std::filesystem::create_symlink("f", disk_ / "src/s/link");
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / "src/s/f").c_str(), times, 0), 0);
    run("import " + disk_ / "src" + " /p");
    for (const std::string command : {"cp -r", "mv"}) {
        const std::string name = command.substr(0, 2);
        succeed(command + " /p disk:/" + name);
        succeed("export disk:/" + name + " " + disk_ / name);
        struct stat one {};
        struct stat other {};
        ASSERT_EQ(::stat((disk_ / name + "/s/f").c_str(), &one), 0) << name;
        ASSERT_EQ(::stat((disk_ / name + "/s/g").c_str(), &other), 0) << name;
        EXPECT_EQ(one.st_mode & 07777U, 0751U) << name;
        EXPECT_EQ(one.st_mtim.tv_nsec, 123456789) << name;
        EXPECT_EQ(one.st_ino, other.st_ino) << name;
        EXPECT_EQ(std::filesystem::read_symlink(disk_ / name + "/s/link"), "f") << name;
    }
    EXPECT_EQ(succeed("check -t"), "check: 2 folders, 2 files, 14 bytes, 1 symbolic link: equal\n")
        << "check follows what was moved";
}

TEST_F(StorageCopyTest, CpAppliesTheRulesOfOneStorage) {
    EXPECT_EQ(fail("cp /a disk:/e"), "qzstorage: cp: mem:/a: is a folder; use cp -r\n");
    EXPECT_EQ(fail("cp /x disk:/e"), "qzstorage: cp: mem:/x: no such file or folder\n");
    EXPECT_EQ(fail("cp /a/f disk:/x/y"),
              "qzstorage: cp: mem:/a/f: cannot create disk:/x/y: folder disk:/x does not exist\n");
    succeed("write disk:/d/f old");
    succeed("cp /a/f disk:/d");
    EXPECT_EQ(succeed("cat disk:/d/f"), "one\n");
    succeed("chmod -w disk:/d/f");
    EXPECT_EQ(fail("cp /a/f disk:/d"), "qzstorage: cp: disk:/d/f: the file is read-only\n");
    succeed("chmod -w disk:/d");
    EXPECT_EQ(fail("cp /a/f disk:/d/new"), "qzstorage: cp: disk:/d: the folder is read-only\n");
}

TEST_F(StorageCopyTest, CpMergesIntoFoldersAndKeepsTheirAttributes) {
    succeed("mkdir -p disk:/a/f");
    succeed("write disk:/a/s old");
    const auto before = providers_[1]->doGetFolderAttributes(StorageIRI(u"/a")).getLastModified();
    EXPECT_EQ(run("cp -r /a disk:/"), ExitStatus::Failure);
    EXPECT_EQ(errors(), "qzstorage: cp: disk:/a/f: is a folder\n"
                        "qzstorage: cp: disk:/a/s: already exists\n");
    EXPECT_EQ(providers_[1]->doGetFolderAttributes(StorageIRI(u"/a")).getLastModified(), before);
}

TEST_F(StorageCopyTest, CpCopiesTheOtherFilesAfterAFailure) {
    providers_[1]->beforeWrite = [] { throw SystemError(ENOSPC, StorageIRI(u"/a/f")); };
    EXPECT_EQ(run("cp -r /a disk:/"), ExitStatus::Failure);
    EXPECT_THAT(errors(), HasSubstr("qzstorage: cp: disk:/a/f: No space left on device\n"));
    EXPECT_EQ(all("disk"), "disk:/\ndisk:/a\ndisk:/a/s\ndisk:/d\n");
    providers_[1]->beforeWrite = [] {};
    provider_->beforeRead = [] { throw SystemError(EIO, StorageIRI(u"/a/f")); };
    EXPECT_EQ(fail("cp /a/f disk:/"), "qzstorage: cp: mem:/a/f: Input/output error\n");
    EXPECT_EQ(all("disk"), "disk:/\ndisk:/a\ndisk:/a/s\ndisk:/d\n");
}

TEST_F(StorageCopyTest, CpLeavesNoPartialFileWhenInterrupted) {
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("cp /a/f disk:/"), ExitStatus::Interrupted);
    EXPECT_FALSE(providers_[1]->doExists(StorageIRI(u"/f")));
    EXPECT_EQ(run("mv /a disk:/"), ExitStatus::Interrupted);
    EXPECT_TRUE(provider_->doFileExists(StorageIRI(u"/a/f")));
    interruption_.clear();
}

TEST_F(StorageCopyTest, MvMovesFilesAndFolders) {
    succeed("chmod -w /a/f");
    succeed("mv /a disk:/d");
    succeed("mv disk:/d/a/s/g /");
    EXPECT_EQ(all("mem"), "mem:/\nmem:/g\n");
    EXPECT_EQ(all("disk"), "disk:/\ndisk:/d\ndisk:/d/a\ndisk:/d/a/f\ndisk:/d/a/s\n");
    EXPECT_EQ(succeed("cat mem:/g disk:/d/a/f"), "two\none\n");
}

TEST_F(StorageCopyTest, MvUpdatesTheCurrentFolder) {
    succeed("cd /a/s");
    succeed("mv /a disk:/d");
    EXPECT_EQ(succeed("pwd"), "disk:/d/a/s\n");
    EXPECT_EQ(succeed("cat g"), "two\n");
}

TEST_F(StorageCopyTest, MvRemovesNothingWhenACopyFails) {
    failAt("openStream", u"/a/s/g");
    EXPECT_EQ(run("mv /a disk:/"), ExitStatus::Failure);
    EXPECT_EQ(errors(),
              "qzstorage: mv: disk:/a/s/g: No space left on device\n"
              "qzstorage: mv: mem:/a: not removed, because not all of it could be copied to disk:/a\n");
    EXPECT_EQ(all("mem"), source);
}

TEST_F(StorageCopyTest, MvRemovesNothingWhenTheCopyDiffers) {
    providers_[1]->before = [this](const char* operation, const StorageIRI& iri) {
        if (std::string(operation) == "setWritable" && iri.getPath() == u"/a/f") {
            provider::writeFile(*providers_[1], iri, "onE\n");
        }
    };
    EXPECT_EQ(fail("mv /a disk:/"),
              "qzstorage: mv: disk:/a/f: differs from mem:/a/f at byte 3; mem:/a is not removed\n");
    EXPECT_EQ(all("mem"), source);
}

TEST_F(StorageCopyTest, MvRemovesNothingWhenANameIsMissing) {
    providers_[1]->before = [this](const char* operation, const StorageIRI& iri) {
        if (std::string(operation) == "setWritable" && iri.getPath() == u"/a/s") {
            providers_[1]->doRemoveFile(StorageIRI(u"/a/f"));
        }
    };
    EXPECT_EQ(fail("mv /a disk:/"),
              "qzstorage: mv: disk:/a/f: missing, or stored under another name; mem:/a is not removed\n");
    EXPECT_EQ(all("mem"), source);
}

TEST_F(StorageCopyTest, MvReplacesOnlyWhenForced) {
    succeed("write disk:/f old");
    succeed("mkdir disk:/a");
    EXPECT_EQ(fail("mv /a/f disk:/"), "qzstorage: mv: disk:/f: already exists\n");
    EXPECT_EQ(fail("mv /a disk:/"), "qzstorage: mv: disk:/a: already exists\n");
}

TEST_F(StorageCopyTest, MvForcedReplacesAFileOrAnEmptyFolder) {
    succeed("write disk:/f old");
    succeed("mkdir -p disk:/a disk:/full/a/x disk:/is/f");
    EXPECT_EQ(fail("mv -f /a disk:/full"), "qzstorage: mv: disk:/full/a: the folder is not empty\n");
    EXPECT_EQ(fail("mv -f /a/f disk:/is"),
              "qzstorage: mv: disk:/is/f: is a folder, so a file cannot replace it\n");
    succeed("mv -f /a/f disk:/");
    succeed("mv -f /a disk:/");
    EXPECT_EQ(succeed("cat disk:/f disk:/a/s/g"), "one\ntwo\n");
    EXPECT_EQ(all("mem"), "mem:/\n");
}

TEST_F(StorageCopyTest, MvRefusesReadOnlyFolders) {
    EXPECT_EQ(fail("mv / disk:/all"), "qzstorage: mv: mem:/: the root folder cannot be moved\n");
    succeed("chmod -w /a/s");
    EXPECT_EQ(fail("mv /a disk:/"), "qzstorage: mv: mem:/a/s: the folder is read-only\n");
    EXPECT_EQ(fail("mv /a/s/g disk:/"), "qzstorage: mv: mem:/a/s: the folder is read-only\n");
    EXPECT_EQ(all("disk"), "disk:/\ndisk:/d\n");
}

TEST_F(StorageCopyTest, MvRefusesAFileOntoItself) {
    Session session({{"one", *provider_}, {"other", *provider_}}, console_);
    Shell shell(host::commandTable(), session, FailureHandling::Interactive);
    err_.str("");
    EXPECT_EQ(shell.execute("mv -f one:/a/f other:/a/f"), ExitStatus::Failure);
    EXPECT_EQ(errors(), "qzstorage: mv: one:/a/f: source and destination are the same, other:/a/f\n");
    EXPECT_EQ(shell.execute("mv one:/a/f other:/a/h"), ExitStatus::Success);
    EXPECT_EQ(all("mem"), "mem:/\nmem:/a\nmem:/a/h\nmem:/a/s\nmem:/a/s/g\n");
}

} // namespace

} // namespace storage::tests
